// Structure classes declared with the CAsn1Constructed pattern, choices, explicit tags, and the
// generic object tree.
#include <gtest/gtest.h>

#include <tuple>
#include <utility>

#include "tests/asn1/Asn1TestUtil.h"

namespace {

using asn1test::FromHex;
using asn1test::SParsed;

// CTestRecord ::= SEQUENCE { version [0] EXPLICIT INTEGER OPTIONAL, serial INTEGER, flag BOOLEAN
//     OPTIONAL, name PrintableString, uid [1] IMPLICIT BIT STRING OPTIONAL, extra [3] EXPLICIT SEQUENCE
//     OPTIONAL }
class CTestRecord : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override {
        ++createCalls;
        version = AppendExplicitT<CAsn1Integer>(0, true);
        serial = AppendT<CAsn1Integer>(false);
        flag = AppendT<CAsn1Boolean>(true);
        name = AppendT<CAsn1PrintableString>(false);
        uid = _appendSpecificT<CAsn1BitString>(1, true);
        extra = AppendExplicitT<CAsn1Sequence>(3, true);
    }
    void ReadProperties() override { nameText = name->text; }
    void WriteProperties() override { name->SetText(nameText); }

    CAsn1Explicit<CAsn1Integer>* version = nullptr;
    CAsn1Integer* serial = nullptr;
    CAsn1Boolean* flag = nullptr;
    CAsn1PrintableString* name = nullptr;
    CAsn1BitString* uid = nullptr;
    CAsn1Explicit<CAsn1Sequence>* extra = nullptr;
    std::wstring nameText;
    int createCalls = 0;
};

// CTestRequired ::= SEQUENCE { code [2] IMPLICIT INTEGER }
class CTestRequired : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override { _appendSpecificT<CAsn1Integer>(2, false); }
};

using CStringChoice = CAsn1Choice<CAsn1UTF8String, CAsn1PrintableString, CAsn1IA5String>;
using CNameChoice = CAsn1Choice<CAsn1Tagged<CAsn1IA5String, 0x81>, CAsn1Tagged<CAsn1IA5String, 0x82>,
                                CAsn1Tagged<CAsn1Sequence, 0xA4>>;

template <class T>
uint32_t DecodeCode(const std::string& hex) {
    SParsed parsed(hex);
    return CodeOf([&] { T(parsed.First()).Decode(); });
}

TEST(Asn1Structure, OptionalAndTaggedMembers) {
    // hex, and the optional members version, flag, uid and extra ("-": absent).
    const std::pair<const char*, const wchar_t*> cases[] = {
        {"30 17 A003020102 020107 0101FF 13024142 81020780 A3023000", L"<2> <True> <80> <>"},
        {"30 07 020107 13024142", L"- - - -"},
        {"30 0F 020107 13024142 81020780 A3023000", L"- - <80> <>"},
        {"30 0C A003020102 020107 13024142", L"<2> - - -"},
    };
    const auto show = [](CAsn1Object* member) {
        return member == nullptr ? std::wstring(L"-") : L"<" + member->GetFormattedString(0) + L">";
    };
    for (const auto& [hex, members] : cases) {
        SCOPED_TRACE(hex);
        SParsed parsed(hex);
        CTestRecord record(parsed.First());
        record.Decode();
        EXPECT_EQ(show(record.version ? record.version->inner : nullptr) + L" " + show(record.flag) + L" " +
                      show(record.uid) + L" " + show(record.extra ? record.extra->inner : nullptr),
                  members);
        EXPECT_EQ(record.serial->GetFormattedString(0) + record.nameText, L"7AB");
        EXPECT_TRUE(record.uid == nullptr || record.uid->tag == 0x81u);  // implicit: the context tag stays
    }
}

TEST(Asn1Structure, MissingOrWrongMandatoryMembersAreLogged) {
    // hex, the class decoding it, and the site logged as "CryptAsn1Base.h:<line>" (0: none).
    const std::tuple<const char*, uint32_t (*)(const std::string&), long> cases[] = {
        {"30 03 020107", &DecodeCode<CTestRecord>, 537},         // name missing
        {"30 06 020107 020108", &DecodeCode<CTestRecord>, 537},  // name of another type
        {"30 05 A003020102", &DecodeCode<CTestRecord>, 537},     // serial missing
        {"30 07 0101FF 13024142", &DecodeCode<CTestRecord>, 537},
        {"3000", &DecodeCode<CTestRequired>, 606},
        {"8101FF", &DecodeCode<CAsn1Sequence>, 737},  // a primitive block
        {"3003020105", &DecodeCode<CAsn1AlgorithmIdentifier>, 537},
        {"31 0F 300B06092A864886F70D01010B 0500", &DecodeCode<CAsn1SetOf<CAsn1AlgorithmIdentifier>>, 537},
        {"3100", &DecodeCode<CAsn1Sequence>, 0},  // another tag: refused before anything is logged
    };
    const CLogScope log;
    for (const auto& [hex, decode, line] : cases) {
        EXPECT_EQ(decode(hex), ca::kAsn1BadTag) << hex;
        EXPECT_EQ(asn1test::FirstLogLine(), line == 0 ? L"" : L": CryptAsn1Base.h:" + std::to_wstring(line))
            << hex;
    }
    EXPECT_EQ(DecodeCode<CTestRequired>("3003820105"), 0u);
}

TEST(Asn1Structure, BuiltReadBackChangedAndWrittenAgain) {
    CTestRecord built;
    const uint8_t bytes[] = {7, 0x80, 0x01, 0x00};
    built.serial = built.AddNew(std::make_unique<CAsn1Integer>());
    built.serial->SetBytes(bytes, 1);
    built.name = built.AddNew(std::make_unique<CAsn1PrintableString>());
    built.nameText = L"AB";
    built.uid = built.AddNew(std::make_unique<CAsn1BitString>(static_cast<unsigned char>(0x81)));
    built.uid->SetValue(bytes + 1, 1, 7);
    auto extra = std::make_unique<CAsn1Explicit<CAsn1Sequence>>(static_cast<unsigned char>(0xA3));
    extra->SetInner(std::make_unique<CAsn1Sequence>());
    built.extra = built.AddNew(std::move(extra));
    built.Encode();
    const std::vector<uint8_t> encoded = built.GetAsn1Data();
    EXPECT_EQ(encoded, FromHex("30 0F 020107 13024142 81020780 A3023000"));

    SParsed parsed(encoded);
    CTestRecord read(parsed.First());
    read.Decode();
    read.Decode();  // the members are made once
    EXPECT_EQ(read.createCalls, 1);
    EXPECT_EQ(read.createdObjects.size(), 4u);
    EXPECT_FALSE(read.changed);
    read.serial->SetBytes(bytes + 2, 2);
    EXPECT_TRUE(read.changed);  // marked through the parents
    read.nameText = L"XYZ";
    read.Encode();
    EXPECT_EQ(read.GetAsn1Data(), FromHex("30 11 02020100 1303 58595A 81020780 A3023000"));
}

TEST(Asn1Structure, AlgorithmIdentifierParameters) {
    // hex, the algorithm, and the parameters as class and text ("-": absent).
    const std::tuple<const char*, const wchar_t*, const char*, const wchar_t*> cases[] = {
        {"300B 06092A864886F70D01010B", L"1.2.840.113549.1.1.11", "-", L""},
        {"300D 06092A864886F70D01010B 0500", L"1.2.840.113549.1.1.11", "NULL", L"Null"},
        {"3013 06072A8648CE3D0201 06082A8648CE3D030107", L"1.2.840.10045.2.1", "OBJECT IDENTIFIER",
         L"1.2.840.10045.3.1.7"},
        {"3010 06092A864886F70D01010A 3003020120", L"1.2.840.113549.1.1.10", "", L""},  // a SEQUENCE
    };
    for (const auto& [hex, oid, type, text] : cases) {
        SCOPED_TRACE(hex);
        SParsed parsed(hex);
        CAsn1AlgorithmIdentifier algorithm(parsed.First());
        algorithm.Decode();
        EXPECT_EQ(algorithm.GetOidString(), oid);
        CAsn1Object* parameters = algorithm.parameters;
        EXPECT_EQ(parameters == nullptr ? "-" : parameters->GetTagName(), type);
        EXPECT_EQ(parameters == nullptr ? L"" : parameters->GetFormattedString(0), text);
    }
}

TEST(Asn1Choice, PicksTheAlternativeByTagOrPosition) {
    for (const auto& [hex, name, text] : {std::tuple{"13024142", "PRINTABLE STRING", L"AB"},
                                          {"0C0141", "UTF8 STRING", L"A"},
                                          {"020105", "", L""}}) {
        SParsed parsed(hex);
        CStringChoice choice(parsed.First());
        choice.Decode();
        EXPECT_EQ(choice.GetTagName(), name) << hex;  // "": nothing chosen
        EXPECT_EQ(choice.GetFormattedString(0), text) << hex;
    }
    SParsed dns("8203616263");
    CNameChoice name(dns.First());
    EXPECT_EQ((name.GetChosen<CAsn1Tagged<CAsn1IA5String, 0x81>>()), nullptr);
    ASSERT_NE((name.GetChosen<CAsn1Tagged<CAsn1IA5String, 0x82>>()), nullptr);
    name.Decode();
    EXPECT_EQ(name.GetFormattedString(0), L"abc");
    SParsed directory("A400");
    EXPECT_NE((CNameChoice(directory.First()).GetChosen<CAsn1Tagged<CAsn1Sequence, 0xA4>>()), nullptr);

    CAsn1Sequence sequence;
    sequence.AddNew(std::make_unique<CStringChoice>(1))->GetChosen<CAsn1PrintableString>()->SetText(L"AB");
    sequence.AddNew(std::make_unique<CStringChoice>(2))->GetChosen<CAsn1IA5String>()->SetText(L"x");
    sequence.AddNew(std::make_unique<CStringChoice>());  // no position: nothing chosen, an empty block
    sequence.Encode();
    EXPECT_EQ(sequence.GetAsn1Data(), FromHex("3009 13024142 160178 0000"));
}

TEST(Asn1GenericTree, BuildsEditsAndWritesBack) {
    SParsed parsed("30 0B 020105 3106 010100 0C0141");
    std::unique_ptr<CAsn1Object> root = CreatePrimitiveObject(parsed.First(), nullptr);
    root->Decode();
    auto& set = dynamic_cast<CAsn1Set&>(*dynamic_cast<CAsn1Sequence&>(*root).innerObjects[1]);
    auto& flag = dynamic_cast<CAsn1Boolean&>(*set.innerObjects[0]);
    EXPECT_EQ(flag.GetFormattedString(0), L"False");
    flag.SetValue(true);
    EXPECT_TRUE(root->changed);
    root->Encode();
    EXPECT_EQ(root->GetAsn1Data(), FromHex("30 0B 020105 3106 0101FF 0C0141"));

    // Detached with its block, the flag leaves the tree; detached without, the string is skipped.
    set._DetachInnerObject(&flag, true);
    EXPECT_EQ(flag.GetAsn1Data(), FromHex("0101FF"));
    EXPECT_EQ(root->GetAsn1Data(), FromHex("30 08 020105 3103 0C0141"));
    flag._SetSelfOwnObject();  // already its own: nothing changes
    set._DetachInnerObject(set.innerObjects[1], false);
    EXPECT_EQ(root->GetAsn1Data(), FromHex("30 05 020105 3100"));

    // A block that belongs to a parsed tree cannot be attached elsewhere.
    CAsn1Sequence holder;
    EXPECT_EQ(
        CodeOf([&] { holder.AddNew(std::make_unique<CAsn1Integer>(parsed.First()->GetInnerBlock(0))); }),
        ca::kAsn1BadTag);
}

}  // namespace
