// Real certificates (Debian's ca-certificates, stored as DER in tests/data/certs) against facts taken
// once from "openssl asn1parse"; every prefix of them; and the fuzz corpus, parsed and written back.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "base/Encode.h"
#include "base/Json.h"
#include "tests/asn1/Asn1TestUtil.h"

namespace {

using asn1test::CInput;

struct SBlockFact {
    const wchar_t* path;
    uint32_t offset;
    uint32_t totalLength;  // header + content
    uint8_t tag;
    const wchar_t* formatted;  // nullptr: constructed
};

struct SCertFacts {
    const char* file;
    size_t size;
    size_t blocks;
    size_t maxLevel;  // nesting levels, the certificate itself being 1
    std::vector<SBlockFact> facts;
};

const SCertFacts kCerts[] = {
    {"comodo_rsa.der",
     1500,
     75,
     6,
     {
         {L"0", 0, 1500, 0x30, nullptr},
         {L"0/0/0", 8, 5, 0xA0, nullptr},
         {L"0/0/1", 13, 18, 0x02, L"4caaf9cadb636fe01ff74ed85b03869d"},
         {L"0/0/2/0", 33, 11, 0x06, L"1.2.840.113549.1.1.12"},
         {L"0/0/3/4/0/1", 146, 36, 0x13, L"COMODO RSA Certification Authority"},
         {L"0/0/4/0", 184, 15, 0x17, L"19.01.2010 00:00:00"},
         {L"0/0/4/1", 199, 15, 0x17, L"18.01.2038 23:59:59"},
         {L"0/0/6/1", 369, 531, 0x03, nullptr},
         {L"0/0/7", 900, 68, 0xA3, nullptr},
         {L"0/0/7/0/1/1", 942, 3, 0x01, L"True"},
         {L"0/1/0", 970, 11, 0x06, L"1.2.840.113549.1.1.12"},
         {L"0/2", 983, 517, 0x03, nullptr},
     }},
    {"certum_network2.der",
     1494,
     67,
     6,
     {
         {L"0/0/1", 13, 18, 0x02, L"21d6d04a4f250fc93237fcaa5e128de9"},
         {L"0/0/2/0", 33, 11, 0x06, L"1.2.840.113549.1.1.13"},
         {L"0/0/4/0", 179, 17, 0x18, L"06.10.2011 08:39:56"},
         {L"0/0/4/1", 196, 17, 0x18, L"06.10.2046 08:39:56"},
         {L"0/0/6/1", 363, 531, 0x03, nullptr},
         {L"0/0/7", 894, 68, 0xA3, nullptr},
         {L"0/2", 977, 517, 0x03, nullptr},
     }},
    {"entrust_2048_t61.der",
     1070,
     67,
     6,
     {
         {L"0/0/1", 13, 6, 0x02, L"946069240"},
         {L"0/0/2/0", 21, 11, 0x06, L"1.2.840.113549.1.1.5"},
         {L"0/0/3/1/0/1", 68, 57, 0x14, L"www.entrust.net/CPS_2048 incorp. by ref. (limits liab.)"},
         {L"0/0/4/0", 219, 15, 0x17, L"24.12.2099 17:50:51"},  // Deliberate: UTCTime 99 is 2099
         {L"0/0/4/1", 234, 15, 0x17, L"24.07.2029 14:15:12"},
         {L"0/0/6/1", 451, 275, 0x03, nullptr},
         {L"0/2", 809, 261, 0x03, nullptr},
     }},
    {"isrg_x2_ec.der",
     543,
     57,
     6,
     {
         {L"0/0/1", 13, 18, 0x02, L"41d29dd172eaeea780c12c6ce92f8752"},
         {L"0/0/2/0", 33, 10, 0x06, L"1.2.840.10045.4.3.3"},
         {L"0/0/4/0", 126, 15, 0x17, L"04.09.2020 00:00:00"},
         {L"0/0/4/1", 141, 15, 0x17, L"17.09.2040 16:00:00"},
         {L"0/0/6/0/0", 241, 9, 0x06, L"1.2.840.10045.2.1"},
         {L"0/0/6/0/1", 250, 7, 0x06, L"1.3.132.0.34"},
         {L"0/0/6/1", 257, 100, 0x03, nullptr},
         {L"0/2", 437, 106, 0x03, nullptr},
     }},
};

void Count(const CAsn1Block& block, size_t level, size_t& blocks, size_t& maxLevel) {
    ++blocks;
    maxLevel = std::max(maxLevel, level);
    for (const auto& inner : block.innerBlocks) {
        Count(*inner, level + 1, blocks, maxLevel);
    }
}

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
    }
};

TEST_F(Asn1Certificates, StructureMatchesOpenssl) {
    for (const auto& cert : kCerts) {
        SCOPED_TRACE(cert.file);
        CInput input(asn1test::ReadFile(asn1test::CertPath(cert.file)));
        ASSERT_EQ(input.size(), cert.size);
        CCryptAsn1Parser parser;
        parser.Parse(input.data(), input.size(), false, true);
        ASSERT_EQ(parser.GetInnerBlockCount(), 1u);
        size_t blocks = 0;
        size_t maxLevel = 0;
        Count(*parser.GetInnerBlock(0), 1, blocks, maxLevel);
        EXPECT_EQ(blocks, cert.blocks);
        EXPECT_EQ(maxLevel, cert.maxLevel);
        EXPECT_TRUE(parser.GetInnerBlock(0)->IsCanonical());
        for (const auto& fact : cert.facts) {
            SCOPED_TRACE(ca::u16u8(fact.path));
            CAsn1Block* block = parser.GetBlockByPath(fact.path);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(block->offset, fact.offset);
            EXPECT_EQ(block->totalLength, fact.totalLength);
            EXPECT_EQ(block->tag, fact.tag);
            EXPECT_EQ(block->IsConstructed(), fact.formatted == nullptr && fact.tag != 0x03);
            if (fact.formatted != nullptr) {
                const auto object = CreatePrimitiveObject(block, nullptr);
                object->Decode();
                EXPECT_EQ(object->GetFormattedString(0), fact.formatted);
            }
        }
    }
}

TEST_F(Asn1Certificates, BuildAndFullReencodeGiveTheOriginal) {
    for (const auto& cert : kCerts) {
        SCOPED_TRACE(cert.file);
        const std::vector<uint8_t> original = asn1test::ReadFile(asn1test::CertPath(cert.file));
        CInput input(original);
        CCryptAsn1Parser parser;
        parser.Parse(input.data(), input.size());
        EXPECT_EQ(parser.GetTotalLength(), original.size());
        EXPECT_EQ(parser.Build(), original);

        // Every value decoded and written again from its decoded form.
        std::unique_ptr<CAsn1Object> root = CreatePrimitiveObject(parser.GetInnerBlock(0), nullptr);
        root->Decode();
        MarkAllChanged(*root);
        root->Encode();
        EXPECT_EQ(root->GetAsn1Data(), original);
    }
}

TEST_F(Asn1Certificates, DumpHasOneStructurePerBlock) {
    for (const auto& cert : kCerts) {
        SCOPED_TRACE(cert.file);
        CInput input(asn1test::ReadFile(asn1test::CertPath(cert.file)));
        CCryptAsn1Parser parser;
        parser.Parse(input.data(), input.size());
        const std::string json = parser.GetAsn1Structure();
        rapidjson::Document document;
        ca::ParseJson(document, json.data(), json.size());
        size_t structures = 0;
        for (size_t at = json.find("\"structure\""); at != std::string::npos;
             at = json.find("\"structure\"", at + 1)) {
            ++structures;
        }
        EXPECT_EQ(structures, cert.blocks);
        EXPECT_EQ(document["structure"]["length"].GetUint(), cert.size);
    }
}

TEST_F(Asn1Certificates, AlgorithmIdentifiersOfRealCertificates) {
    struct SCase {
        const char* file;
        const wchar_t* path;
        const wchar_t* oid;
        const wchar_t* parameters;  // nullptr: absent
    };
    const SCase cases[] = {
        {"comodo_rsa.der", L"0/0/2", L"1.2.840.113549.1.1.12", L"Null"},
        {"comodo_rsa.der", L"0/0/6/0", L"1.2.840.113549.1.1.1", L"Null"},
        {"isrg_x2_ec.der", L"0/1", L"1.2.840.10045.4.3.3", nullptr},
        {"isrg_x2_ec.der", L"0/0/6/0", L"1.2.840.10045.2.1", L"1.3.132.0.34"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ca::u16u8(c.path));
        CInput input(asn1test::ReadFile(asn1test::CertPath(c.file)));
        CCryptAsn1Parser parser;
        parser.Parse(input.data(), input.size());
        CAsn1AlgorithmIdentifier algorithm(parser.GetBlockByPath(c.path));
        algorithm.Decode();
        EXPECT_EQ(algorithm.GetOidString(), c.oid);
        if (c.parameters == nullptr) {
            EXPECT_EQ(algorithm.parameters, nullptr);
        } else {
            ASSERT_NE(algorithm.parameters, nullptr);
            EXPECT_EQ(algorithm.parameters->GetFormattedString(0), c.parameters);
        }
    }
}

// Each prefix sits in a buffer of exactly its size: under AddressSanitizer a read past it fails.
TEST_F(Asn1Certificates, EveryPrefixFailsCleanly) {
    for (const char* file : {"comodo_rsa.der", "isrg_x2_ec.der"}) {
        SCOPED_TRACE(file);
        const std::vector<uint8_t> whole = asn1test::ReadFile(asn1test::CertPath(file));
        for (size_t n = 0; n < whole.size(); ++n) {
            SCOPED_TRACE(n);
            CInput strict(
                std::vector<uint8_t>(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n)));
            EXPECT_EQ(asn1test::ParseCode(strict), ca::kAsn1EndOfData);

            CInput quiet(std::vector<uint8_t>(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n)));
            CCryptAsn1Parser parser;
            parser.Parse(quiet.data(), quiet.size(), true);
            EXPECT_EQ(parser.lastError, ca::kAsn1EndOfData);
            try {
                parser.GetAsn1Structure();  // a cut value may not decode; it must say so
            } catch (const ca::Exception& e) {
                EXPECT_EQ(e.code, ca::kAsn1EndOfData);
            }
            const std::vector<uint8_t> built = parser.Build();
            EXPECT_EQ(built.size(), parser.GetTotalLength());
        }
    }
}

TEST(Asn1Corpus, ParseAndBuildRoundTrip) {
    namespace fs = std::filesystem;
    const fs::path corpus = fs::path(SES_TEST_DATA) / ".." / ".." / "fuzz" / "corpus" / "asn1";
    ASSERT_TRUE(fs::is_directory(corpus)) << corpus;
    size_t files = 0;
    size_t wellFormed = 0;
    for (const auto& entry : fs::directory_iterator(corpus)) {
        SCOPED_TRACE(entry.path().filename().string());
        ++files;
        const std::vector<uint8_t> bytes = asn1test::ReadFile(entry.path().string());
        CInput input(bytes);
        CCryptAsn1Parser parser;
        try {
            parser.Parse(input.data(), input.size());
        } catch (const ca::Exception& e) {
            EXPECT_TRUE(e.code == ca::kAsn1EndOfData || e.code == ca::kAsn1CorruptData) << std::hex << e.code;
            continue;
        }
        bool all = true;
        for (const auto& block : parser.innerBlocks) {
            all = all && block->IsCanonical();
        }
        if (all) {
            ++wellFormed;
            EXPECT_EQ(parser.Build(), bytes);
        } else {
            // Indefinite or non-minimal forms: what was written parses again to the same bytes.
            const std::vector<uint8_t> built = parser.Build();
            CInput again(built);
            CCryptAsn1Parser second;
            second.Parse(again.data(), again.size());
            EXPECT_EQ(second.Build(), built);
        }
    }
    EXPECT_GE(files, 10u);
    EXPECT_GE(wellFormed, 4u);
}

}  // namespace
