// Real certificates (Debian's ca-certificates, stored as DER in tests/data/certs) against facts taken
// once from "openssl asn1parse", and every prefix of them. (The dump of one is checked through
// "sestool asn1"; the fuzz corpus is written back by the fuzz_replay_asn1 test.)
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "base/Encode.h"
#include "base/Lng.h"
#include "tests/asn1/Asn1TestUtil.h"

namespace {

using asn1test::CInput;
using asn1test::SParsed;

struct SBlockFact {
    const char* file;
    const wchar_t* path;
    uint32_t offset;
    uint32_t totalLength;      // header + content
    const wchar_t* formatted;  // nullptr: not decoded
};

const SBlockFact kFacts[] = {
    {"comodo_rsa.der", L"0", 0, 1500, nullptr},
    {"comodo_rsa.der", L"0/0/1", 13, 18, L"4caaf9cadb636fe01ff74ed85b03869d"},
    {"comodo_rsa.der", L"0/0/3/4/0/1", 146, 36, L"COMODO RSA Certification Authority"},
    {"comodo_rsa.der", L"0/0/4/1", 199, 15, L"18.01.2038 23:59:59"},
    {"comodo_rsa.der", L"0/0/7/0/1/1", 942, 3, L"True"},
    {"comodo_rsa.der", L"0/2", 983, 517, nullptr},
    {"certum_network2.der", L"0/0/2/0", 33, 11, L"1.2.840.113549.1.1.13"},
    {"certum_network2.der", L"0/0/4/1", 196, 17, L"06.10.2046 08:39:56"},
    {"entrust_2048_t61.der", L"0/0/1", 13, 6, L"946069240"},
    {"entrust_2048_t61.der", L"0/0/3/1/0/1", 68, 57,
     L"www.entrust.net/CPS_2048 incorp. by ref. (limits liab.)"},
    {"entrust_2048_t61.der", L"0/0/4/0", 219, 15, L"24.12.2099 17:50:51"},  // Deliberate: UTCTime 99 is 2099
    {"isrg_x2_ec.der", L"0/0/6/0/1", 250, 7, L"1.3.132.0.34"},
};

// MarkAllChanged flags every object of a generic tree, so that Encode rewrites every value.
void MarkAllChanged(CAsn1Object& object) {
    object.SetChanged(true);
    if (auto* constructed = dynamic_cast<CAsn1Constructed<CAsn1Object>*>(&object)) {
        for (CAsn1Object* member : constructed->innerObjects) {
            MarkAllChanged(*member);
        }
    }
}

class Asn1Certificates : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        SetVALKOLng(L"en");
    }
};

TEST_F(Asn1Certificates, BlocksMatchOpenssl) {
    for (const auto& fact : kFacts) {
        SCOPED_TRACE(std::string(fact.file) + " " + ca::u16u8(fact.path));
        SParsed parsed(asn1test::Cert(fact.file));
        CAsn1Block* block = parsed.parser.GetBlockByPath(fact.path);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->offset, fact.offset);
        EXPECT_EQ(block->totalLength, fact.totalLength);
        if (fact.formatted != nullptr) {
            const auto object = CreatePrimitiveObject(block, nullptr);
            object->Decode();
            EXPECT_EQ(object->GetFormattedString(0), fact.formatted);
        }
    }
}

TEST_F(Asn1Certificates, BuildAndFullReencodeGiveTheOriginal) {
    for (const char* file :
         {"comodo_rsa.der", "certum_network2.der", "entrust_2048_t61.der", "isrg_x2_ec.der"}) {
        const std::vector<uint8_t> original = asn1test::Cert(file);
        SParsed parsed(original);
        EXPECT_TRUE(parsed.First()->IsCanonical()) << file;
        EXPECT_EQ(parsed.parser.Build(), original) << file;
        // Every value decoded and written again from its decoded form.
        std::unique_ptr<CAsn1Object> root = CreatePrimitiveObject(parsed.First(), nullptr);
        root->Decode();
        MarkAllChanged(*root);
        root->Encode();
        EXPECT_EQ(root->GetAsn1Data(), original) << file;
    }
}

// Each prefix sits in a buffer of exactly its size: under AddressSanitizer a read past it fails.
TEST_F(Asn1Certificates, EveryPrefixFailsCleanly) {
    for (const char* file : {"comodo_rsa.der", "isrg_x2_ec.der"}) {
        const std::vector<uint8_t> whole = asn1test::Cert(file);
        for (size_t n = 0; n < whole.size(); ++n) {
            SCOPED_TRACE(std::string(file) + " " + std::to_string(n));
            const std::vector<uint8_t> prefix(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
            EXPECT_EQ(asn1test::ParseCode(CInput(prefix)), ca::kAsn1EndOfData);
            CInput quiet(prefix);
            CCryptAsn1Parser parser;
            parser.Parse(quiet.data(), quiet.size(), true);
            EXPECT_EQ(parser.lastError, ca::kAsn1EndOfData);
            const uint32_t code = CodeOf([&] { parser.GetAsn1Structure(); });
            EXPECT_TRUE(code == 0 || code == ca::kAsn1EndOfData);  // a cut value may not decode; it says so
            EXPECT_EQ(parser.Build().size(), parser.GetTotalLength());
        }
    }
}

}  // namespace
