// Structure classes declared with the CAsn1Constructed pattern, choices, explicit tags, and the
// generic object tree.
#include <gtest/gtest.h>

#include <typeindex>

#include "base/Log.h"
#include "tests/asn1/Asn1TestUtil.h"
#include "tests/support/TestSupport.h"

namespace {

using asn1test::CInput;
using asn1test::FromHex;

// CTestRecord ::= SEQUENCE {
//     version  [0] EXPLICIT INTEGER OPTIONAL,
//     serial   INTEGER,
//     flag     BOOLEAN OPTIONAL,
//     name     PrintableString,
//     uid      [1] IMPLICIT BIT STRING OPTIONAL,
//     extra    [3] EXPLICIT SEQUENCE OPTIONAL }
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
    void CreateDecodeObjects() override { code = _appendSpecificT<CAsn1Integer>(2, false); }
    CAsn1Integer* code = nullptr;
};

using CStringChoice = CAsn1Choice<CAsn1UTF8String, CAsn1PrintableString, CAsn1IA5String>;
using CNameChoice = CAsn1Choice<CAsn1Tagged<CAsn1IA5String, 0x81>, CAsn1Tagged<CAsn1IA5String, 0x82>,
                                CAsn1Tagged<CAsn1Sequence, 0xA4>>;

// SParsed keeps the bytes and their tree alive for an object built over the first block.
struct SParsed {
    explicit SParsed(const std::string& hex) : input(FromHex(hex)) {
        parser.Parse(input.data(), input.size());
    }
    CAsn1Block* First() { return parser.GetInnerBlock(0); }
    CInput input;
    CCryptAsn1Parser parser;
};

template <class T>
uint32_t DecodeError(const std::string& hex) {
    SParsed parsed(hex);
    try {
        T object(parsed.First());
        object.Decode();
    } catch (const ca::Exception& e) {
        return e.code;
    }
    return 0;
}

TEST(Asn1Structure, OptionalAndTaggedMembers) {
    struct SCase {
        const char* hex;
        bool version, flag, uid, extra;
    };
    const SCase cases[] = {
        {"30 17 A003020102 020107 0101FF 13024142 81020780 A3023000", true, true, true, true},
        {"30 07 020107 13024142", false, false, false, false},
        {"30 0F 020107 13024142 81020780 A3023000", false, false, true, true},
        {"30 0C A003020102 020107 13024142", true, false, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        SParsed parsed(c.hex);
        CTestRecord record(parsed.First());
        record.Decode();
        EXPECT_EQ(record.version != nullptr, c.version);
        EXPECT_EQ(record.flag != nullptr, c.flag);
        EXPECT_EQ(record.uid != nullptr, c.uid);
        EXPECT_EQ(record.extra != nullptr, c.extra);
        ASSERT_NE(record.serial, nullptr);
        EXPECT_EQ(record.serial->GetFormattedString(0), L"7");
        EXPECT_EQ(record.nameText, L"AB");
        if (c.version) {
            ASSERT_NE(record.version->inner, nullptr);
            EXPECT_EQ(record.version->inner->GetFormattedString(0), L"2");
            EXPECT_EQ(record.version->tag, 0xA0u);
        }
        if (c.flag) {
            EXPECT_TRUE(record.flag->boolValue);
        }
        if (c.uid) {
            EXPECT_EQ(record.uid->tag, 0x81u);  // implicit: the context tag stays
            EXPECT_EQ(record.uid->unusedBits, 7);
            EXPECT_EQ(record.uid->GetFormattedString(0), L"80");
        }
        if (c.extra) {
            ASSERT_NE(record.extra->inner, nullptr);
            EXPECT_TRUE(record.extra->inner->innerObjects.empty());
        }
    }
}

TEST(Asn1Structure, MissingOrWrongMandatoryMembers) {
    LogInit(&CLogCapture::CaptureLogLine, {});
    struct SCase {
        const char* hex;
        const wchar_t* logged;
    };
    const SCase cases[] = {
        {"30 03 020107", L": CryptAsn1Base.h:537"},           // name missing
        {"30 06 020107 020108", L": CryptAsn1Base.h:537"},    // name of the wrong type
        {"30 05 A003020102", L": CryptAsn1Base.h:537"},       // serial missing
        {"30 07 0101FF 13024142", L": CryptAsn1Base.h:537"},  // serial of the wrong type
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        CLogCapture::Clear();
        EXPECT_EQ(DecodeError<CTestRecord>(c.hex), ca::kAsn1BadTag);
        const auto lines = CLogCapture::Take();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines[0].text, c.logged);
    }
    CLogCapture::Clear();
    EXPECT_EQ(DecodeError<CTestRequired>("3000"), ca::kAsn1BadTag);
    EXPECT_EQ(CLogCapture::Take().at(0).text, L": CryptAsn1Base.h:606");
    EXPECT_EQ(DecodeError<CTestRequired>("3003820105"), 0u);

    // A constructed type over a primitive block.
    CLogCapture::Clear();
    EXPECT_EQ(DecodeError<CAsn1Sequence>("8101FF"), ca::kAsn1BadTag);
    EXPECT_EQ(CLogCapture::Take().at(0).text, L": CryptAsn1Base.h:737");
    EXPECT_EQ(DecodeError<CAsn1Sequence>("3100"), ca::kAsn1BadTag);
    LogInit(nullptr, {});
}

TEST(Asn1Structure, DecodingTwiceReusesMembers) {
    SParsed parsed("30 07 020107 13024142");
    CTestRecord record(parsed.First());
    record.Decode();
    CAsn1Integer* serial = record.serial;
    record.Decode();
    EXPECT_EQ(record.createCalls, 1);
    EXPECT_EQ(record.serial, serial);
    EXPECT_EQ(record.innerObjects.size(), 2u);
    EXPECT_EQ(record.createdObjects.size(), 2u);
    EXPECT_EQ(serial->parentObject, &record);
}

TEST(Asn1Structure, ChangedMembersAreReencoded) {
    SParsed parsed("30 17 A003020102 020107 0101FF 13024142 81020780 A3023000");
    CTestRecord record(parsed.First());
    record.Decode();
    EXPECT_FALSE(record.changed);
    const uint8_t serial[] = {0x01, 0x00};
    record.serial->SetBytes(serial, 2);
    EXPECT_TRUE(record.changed);  // marked through the parents
    record.nameText = L"XYZ";
    record.Encode();
    EXPECT_FALSE(record.changed);
    EXPECT_EQ(record.GetAsn1Data(),
              FromHex("30 19 A003020102 02020100 0101FF 1303 58595A 81020780 A3023000"));
}

TEST(Asn1Structure, BuiltFromScratchAndReadBack) {
    CTestRecord built;
    const uint8_t seven[] = {7};
    built.serial = built.AddNew(std::make_unique<CAsn1Integer>());
    built.serial->SetBytes(seven, 1);
    built.name = built.AddNew(std::make_unique<CAsn1PrintableString>());
    built.nameText = L"AB";
    const uint8_t bits[] = {0x80};
    built.uid = built.AddNew(std::make_unique<CAsn1BitString>(static_cast<unsigned char>(0x81)));
    built.uid->SetValue(bits, 1, 7);
    auto extra = std::make_unique<CAsn1Explicit<CAsn1Sequence>>(static_cast<unsigned char>(0xA3));
    extra->SetInner(std::make_unique<CAsn1Sequence>());
    built.extra = built.AddNew(std::move(extra));
    built.Encode();
    const std::vector<uint8_t> bytes = built.GetAsn1Data();
    EXPECT_EQ(bytes, FromHex("30 0F 020107 13024142 81020780 A3023000"));

    CInput input(bytes);
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    CTestRecord read(parser.GetInnerBlock(0));
    read.Decode();
    EXPECT_EQ(read.nameText, L"AB");
    EXPECT_EQ(read.serial->GetFormattedString(0), L"7");
    ASSERT_NE(read.uid, nullptr);
    ASSERT_NE(read.extra, nullptr);
    EXPECT_EQ(read.version, nullptr);
}

TEST(Asn1Structure, AlgorithmIdentifierParameters) {
    struct SCase {
        const char* hex;
        const wchar_t* oid;
        std::type_index parameters;  // typeid(void): none
        const wchar_t* formatted;
    };
    const SCase cases[] = {
        {"300B 06092A864886F70D01010B", L"1.2.840.113549.1.1.11", typeid(void), L""},
        {"300D 06092A864886F70D01010B 0500", L"1.2.840.113549.1.1.11", typeid(CAsn1Null), L"Null"},
        {"3013 06072A8648CE3D0201 06082A8648CE3D030107", L"1.2.840.10045.2.1", typeid(CAsn1ObjectIdentifier),
         L"1.2.840.10045.3.1.7"},
        {"3010 06092A864886F70D01010A 3003020120", L"1.2.840.113549.1.1.10", typeid(CAsn1Sequence), L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        SParsed parsed(c.hex);
        CAsn1AlgorithmIdentifier algorithm(parsed.First());
        EXPECT_EQ(algorithm.GetOidString(), L"");
        algorithm.Decode();
        EXPECT_EQ(algorithm.GetOidString(), c.oid);
        if (c.parameters == typeid(void)) {
            EXPECT_EQ(algorithm.parameters, nullptr);
        } else {
            ASSERT_NE(algorithm.parameters, nullptr);
            EXPECT_EQ(std::type_index(typeid(*algorithm.parameters)), c.parameters);
            EXPECT_EQ(algorithm.parameters->GetFormattedString(0), c.formatted);
        }
    }
    EXPECT_EQ(DecodeError<CAsn1AlgorithmIdentifier>("3000"), ca::kAsn1BadTag);
    EXPECT_EQ(DecodeError<CAsn1AlgorithmIdentifier>("3003020105"), ca::kAsn1BadTag);

    CAsn1AlgorithmIdentifier built;
    built.algorithm = built.AddNew(std::make_unique<CAsn1ObjectIdentifier>());
    built.algorithm->SetOid(L"1.2.840.113549.1.1.11");
    built.parameters = built.AddNew(std::make_unique<CAsn1Null>());
    built.Encode();
    EXPECT_EQ(built.GetAsn1Data(), FromHex("300D 06092A864886F70D01010B 0500"));
}

TEST(Asn1Structure, HomogeneousSetOfStructures) {
    SParsed parsed("31 1A 300B06092A864886F70D01010B 300B06092A864886F70D01010C");
    CAsn1SetOf<CAsn1AlgorithmIdentifier> set(parsed.First());
    set.Decode();
    ASSERT_EQ(set.innerObjects.size(), 2u);
    EXPECT_EQ(set.innerObjects[1]->GetOidString(), L"1.2.840.113549.1.1.12");
    EXPECT_EQ(DecodeError<CAsn1SetOf<CAsn1AlgorithmIdentifier>>("31 0F 300B06092A864886F70D01010B 0500"),
              ca::kAsn1BadTag);
}

TEST(Asn1Choice, PicksTheAlternativeByTag) {
    SParsed printable("13024142");
    CStringChoice choice(printable.First());
    ASSERT_NE(choice.GetChosen<CAsn1PrintableString>(), nullptr);
    EXPECT_EQ(choice.GetChosen<CAsn1UTF8String>(), nullptr);
    choice.Decode();
    EXPECT_EQ(choice.GetFormattedString(0), L"AB");
    EXPECT_EQ(choice.GetTagName(), "PRINTABLE STRING");

    SParsed integer("020105");
    CStringChoice none(integer.First());
    none.Decode();
    EXPECT_EQ(none.chosen, nullptr);
    EXPECT_EQ(none.GetFormattedString(0), L"");

    SParsed dns("8203616263");
    CNameChoice name(dns.First());
    ASSERT_NE((name.GetChosen<CAsn1Tagged<CAsn1IA5String, 0x82>>()), nullptr);
    EXPECT_EQ((name.GetChosen<CAsn1Tagged<CAsn1IA5String, 0x81>>()), nullptr);
    name.Decode();
    EXPECT_EQ(name.GetFormattedString(0), L"abc");
    SParsed directory("A400");
    CNameChoice sequence(directory.First());
    EXPECT_NE((sequence.GetChosen<CAsn1Tagged<CAsn1Sequence, 0xA4>>()), nullptr);
}

TEST(Asn1Choice, BuildsTheRequestedAlternative) {
    CStringChoice printable(1);
    ASSERT_NE(printable.GetChosen<CAsn1PrintableString>(), nullptr);
    printable.GetChosen<CAsn1PrintableString>()->SetText(L"AB");
    printable.Encode();
    EXPECT_EQ(printable.GetAsn1Data(), FromHex("13024142"));

    CAsn1Sequence sequence;
    auto* member = sequence.AddNew(std::make_unique<CStringChoice>(2));
    member->GetChosen<CAsn1IA5String>()->SetText(L"x");
    sequence.Encode();
    EXPECT_EQ(sequence.GetAsn1Data(), FromHex("3003160178"));

    CStringChoice nothing;
    EXPECT_EQ(nothing.chosen, nullptr);
}

TEST(Asn1GenericTree, BuildsEditsAndWritesBack) {
    SParsed parsed("30 0B 020105 3106 010100 0C0141");
    std::unique_ptr<CAsn1Object> root = CreatePrimitiveObject(parsed.First(), nullptr);
    root->Decode();
    auto& sequence = dynamic_cast<CAsn1Sequence&>(*root);
    ASSERT_EQ(sequence.innerObjects.size(), 2u);
    EXPECT_EQ(sequence.innerObjects[0]->GetFormattedString(0), L"5");
    auto& set = dynamic_cast<CAsn1Set&>(*sequence.innerObjects[1]);
    ASSERT_EQ(set.innerObjects.size(), 2u);
    auto& flag = dynamic_cast<CAsn1Boolean&>(*set.innerObjects[0]);
    EXPECT_EQ(flag.GetFormattedString(0), L"False");
    EXPECT_EQ(set.innerObjects[1]->GetFormattedString(0), L"A");

    flag.SetValue(true);
    EXPECT_TRUE(set.changed);
    EXPECT_TRUE(root->changed);
    root->Encode();
    EXPECT_EQ(root->GetAsn1Data(), FromHex("30 0B 020105 3106 0101FF 0C0141"));
    flag.SetChanged(false);
    EXPECT_FALSE(flag.changed);

    // Detached with its block, the flag leaves the tree; detached without, the string is skipped.
    set._DetachInnerObject(&flag, true);
    EXPECT_EQ(flag.parentObject, nullptr);
    EXPECT_NE(flag.ownBlock, nullptr);
    EXPECT_EQ(set.block->GetInnerBlockCount(), 1u);
    EXPECT_EQ(flag.GetAsn1Data(), FromHex("0101FF"));
    EXPECT_EQ(root->GetAsn1Data(), FromHex("30 08 020105 3103 0C0141"));
    set._DetachInnerObject(set.innerObjects[1], false);
    EXPECT_EQ(root->GetAsn1Data(), FromHex("30 05 020105 3100"));
}

TEST(Asn1GenericTree, AttachingABorrowedBlockIsRefused) {
    SParsed parsed("3003020105");
    CAsn1Sequence holder;
    auto borrowed = std::make_unique<CAsn1Integer>(parsed.First()->GetInnerBlock(0));
    try {
        holder.AddNew(std::move(borrowed));
        ADD_FAILURE() << "attached";
    } catch (const ca::Exception& e) {
        EXPECT_EQ(e.code, ca::kAsn1BadTag);
    }
}

}  // namespace
