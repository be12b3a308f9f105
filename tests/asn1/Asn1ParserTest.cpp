// The block parser: byte tables for lengths, nesting, truncation, writing back, paths and the dump.
#include <gtest/gtest.h>

#include <stdexcept>

#include "asn1/x500.h"
#include "base/Encode.h"
#include "base/Lng.h"
#include "base/Log.h"
#include "tests/asn1/Asn1TestUtil.h"
#include "tests/support/TestSupport.h"

namespace {

using asn1test::CInput;
using asn1test::FromHex;
using asn1test::ParseCode;

constexpr uint32_t kEnd = ca::kAsn1EndOfData;
constexpr uint32_t kCorrupt = ca::kAsn1CorruptData;

struct SParseCase {
    const char* hex;
    uint32_t code;  // 0: parses
};

TEST(Asn1BlockParse, OutcomeOfEachInputShape) {
    const SParseCase cases[] = {
        {"", kEnd},                   // nothing to read
        {"30", kEnd},                 // one byte
        {"3082", kEnd},               // long-form length octets missing
        {"308201", kEnd},             // one of two length octets
        {"3000", 0},                  // empty SEQUENCE
        {"0500", 0},                  // NULL
        {"0201", kEnd},               // primitive content missing
        {"020205", kEnd},             // primitive content runs past the data
        {"020105", 0},                //
        {"1F0100", 0},                // tag 31 is not followed: the next octet is the length
        {"3003020105", 0},            //
        {"30030201", kEnd},           // child content missing
        {"3004020105", kEnd},         // the next child header would lie past the data
        {"3080020105", kEnd},         // no end-of-contents
        {"308002010500", kEnd},       // half an end-of-contents pair
        {"30800201050000", 0},        //
        {"30800000", kEnd},           // the first child is read before any end-of-contents check
        {"30800001050000", 0},        // 00 01 05 is a child with tag 0, then the end-of-contents
        {"04804142000000", kEnd},     // the primitive consumed its pair; 00 alone is one byte
        {"048041420000", 0},          // primitive indefinite
        {"0480000000", 0},            // keeps one content byte (00), then the pair
        {"048000", kEnd},             // too short for content and pair
        {"0480414200", kEnd},         // no pair
        {"0485000000000141", 0},      // five length octets: 1
        {"04850100000002414243", 0},  // five length octets wrap: 1 + 2 = 3
        {"0484FFFFFFFF41", kEnd},     // a length of 4 GiB over one byte
        {"020101020102", 0},          // two top-level blocks
        {"02010102", kEnd},           // a truncated second block
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        CInput input(FromHex(c.hex));
        EXPECT_EQ(ParseCode(input), c.code);
    }
}

TEST(Asn1BlockParse, EmptyConstructedAndNullBlocks) {
    CInput sequence(FromHex("3000"));
    CCryptAsn1Parser parser;
    parser.Parse(sequence.data(), sequence.size());
    ASSERT_EQ(parser.GetInnerBlockCount(), 1u);
    const CAsn1Block* block = parser.GetInnerBlock(0);
    EXPECT_TRUE(block->IsConstructed());
    EXPECT_EQ(block->GetInnerBlockCount(), 0u);
    EXPECT_EQ(block->totalLength, 2u);
    EXPECT_EQ(block->parent, nullptr);
    EXPECT_FALSE(block->isCorrupted);

    CInput null(FromHex("0500"));
    parser.Parse(null.data(), null.size());
    ASSERT_EQ(parser.GetInnerBlockCount(), 1u);
    EXPECT_EQ(parser.GetInnerBlock(0)->tag, 0x05);
    EXPECT_FALSE(parser.GetInnerBlock(0)->IsConstructed());
    EXPECT_EQ(parser.lastError, 0u);
}

TEST(Asn1BlockParse, QuietTruncationKeepsWhatWasRead) {
    CInput single(FromHex("30"));
    CCryptAsn1Parser parser;
    parser.Parse(single.data(), single.size(), true);
    EXPECT_EQ(parser.lastError, kEnd);
    ASSERT_EQ(parser.GetInnerBlockCount(), 1u);
    EXPECT_TRUE(parser.GetInnerBlock(0)->isCorrupted);

    // The partial SEQUENCE keeps its complete first child; its length stays inside the data.
    CInput cut(FromHex("30820100 020105 0201"));
    parser.Parse(cut.data(), cut.size(), true);
    EXPECT_EQ(parser.lastError, kEnd);
    const CAsn1Block* outer = parser.GetInnerBlock(0);
    ASSERT_EQ(outer->GetInnerBlockCount(), 2u);
    EXPECT_TRUE(outer->isCorrupted);
    EXPECT_LE(outer->length, 5u);
    EXPECT_FALSE(outer->GetInnerBlock(0)->isCorrupted);
    EXPECT_TRUE(outer->GetInnerBlock(1)->isCorrupted);

    // A truncation under strict nesting is still quiet; a non-truncation failure is not.
    parser.Parse(cut.data(), cut.size(), true, true);
    EXPECT_EQ(parser.lastError, kEnd);
    CInput overrun(FromHex("30010405000500050005"));
    EXPECT_EQ(ParseCode(overrun, true, true), kCorrupt);
}

TEST(Asn1BlockParse, FailuresAreLoggedUnlessQuiet) {
    LogInit(&CLogCapture::CaptureLogLine, {});
    CLogCapture::Clear();
    CInput input(FromHex("30"));
    EXPECT_EQ(ParseCode(input), kEnd);
    const auto lines = CLogCapture::Take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], (SLogLine{L": CryptAsn1Base:190", true}));

    EXPECT_EQ(ParseCode(input, true), 0u);
    EXPECT_TRUE(CLogCapture::Take().empty());

    struct SSite {
        const char* hex;
        const wchar_t* line;
    };
    const SSite sites[] = {
        {"3082", L": CryptAsn1Base:194"},       {"0480414200", L": CryptAsn1Base:207"},
        {"3004020105", L": CryptAsn1Base:241"}, {"308002010500", L": CryptAsn1Base:260"},
        {"020205", L": CryptAsn1Base:269"},
    };
    for (const auto& site : sites) {
        SCOPED_TRACE(site.hex);
        CInput bytes(FromHex(site.hex));
        EXPECT_EQ(ParseCode(bytes), kEnd);
        const auto logged = CLogCapture::Take();
        ASSERT_FALSE(logged.empty());
        EXPECT_EQ(logged[0].text, site.line);
    }
    LogInit(nullptr, {});
}

TEST(Asn1BlockParse, IndefiniteLengthRoundTrips) {
    CInput input(FromHex("30 80 02 01 05 00 00"));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    CAsn1Block* block = parser.GetInnerBlock(0);
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(block->isIndefinite);
    ASSERT_EQ(block->GetInnerBlockCount(), 1u);
    EXPECT_EQ(block->GetInnerBlock(0)->tag, 0x02);
    EXPECT_EQ(block->GetInnerBlock(0)->parent, block);
    EXPECT_EQ(block->length, 3u);
    EXPECT_EQ(block->totalLength, 5u);  // as parsed: without the end-of-contents pair
    EXPECT_EQ(parser.totalLength, 5u);
    EXPECT_EQ(block->GetTotalLength(true), 7u);  // as written
    EXPECT_EQ(parser.Build(), input.bytes());

    const char* nested[] = {"3080308002010500000500 0000", "048041420000", "3080 0480414200000000",
                            "2480 0402 4142 0401 43 0000"};
    for (const char* hex : nested) {
        SCOPED_TRACE(hex);
        CInput bytes(FromHex(hex));
        parser.Parse(bytes.data(), bytes.size());
        EXPECT_EQ(parser.Build(), bytes.bytes());
    }
}

TEST(Asn1BlockParse, LongAndNonMinimalLengths) {
    const std::string content256(512, 'A');  // 256 bytes 0xAA
    struct SCase {
        std::string hex;
        uint32_t length;
        std::string written;  // minimal form
    };
    const SCase cases[] = {
        {"04 82 0100" + content256, 256, "04 82 0100" + content256},
        {"04 81 05 0102030405", 5, "04 05 0102030405"},  // accepted although not minimal
        {"04 83 000002 4142", 2, "04 02 4142"},
        {"04 85 0000000001 41", 1, "04 01 41"},
        {"04 85 0100000002 414243", 3, "04 03 414243"},  // Deliberate: octets past four wrap
        {"04 86 010000000000" + content256, 256, "04 82 0100" + content256},
        {"30 81 03 020105", 3, "30 03 020105"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex.substr(0, 24));
        CInput in(FromHex(c.hex));
        CCryptAsn1Parser parser;
        parser.Parse(in.data(), in.size());
        EXPECT_EQ(parser.GetInnerBlock(0)->length, c.length);
        EXPECT_EQ(parser.GetInnerBlock(0)->totalLength, in.size());
        EXPECT_EQ(parser.Build(), FromHex(c.written));
    }
}

TEST(Asn1BlockParse, ConcatenatedBlocksAndFirstBlockOnly) {
    CInput input(FromHex("020101 020102"));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    ASSERT_EQ(parser.GetInnerBlockCount(), 2u);
    EXPECT_EQ(parser.GetInnerBlock(1)->offset, 3u);
    EXPECT_EQ(parser.totalLength, 6u);

    SetVALKOLng(L"en");
    LogInit(&CLogCapture::CaptureLogLine, {});
    CLogCapture::Clear();
    parser.Parse(input.data(), input.size(), false, false, true);
    EXPECT_EQ(parser.GetInnerBlockCount(), 1u);
    EXPECT_EQ(parser.lastError, 0u);
    EXPECT_EQ(CLogCapture::Take(),
              (std::vector<SLogLine>{{L"The unprocessed data remained after the first block ASN1.", false}}));
    LogInit(nullptr, {});
}

TEST(Asn1BlockParse, OverrunMarksCorruptedUnlessStrict) {
    // The OCTET STRING (5 content bytes) overruns its SEQUENCE (1); the rest reads as three NULLs.
    CInput input(FromHex("30 01 04 05 00 05 00 05 00"));
    LogInit(&CLogCapture::CaptureLogLine, {});
    CLogCapture::Clear();
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    ASSERT_EQ(parser.GetInnerBlockCount(), 4u);
    EXPECT_TRUE(parser.GetInnerBlock(0)->isCorrupted);
    EXPECT_EQ(parser.GetInnerBlock(0)->totalLength, 3u);
    EXPECT_FALSE(parser.GetInnerBlock(1)->isCorrupted);
    EXPECT_EQ(CLogCapture::Take(),
              (std::vector<SLogLine>{{L"Поврежденные asn.1 данные в смещении 0", false}}));

    EXPECT_EQ(ParseCode(input, false, true), kCorrupt);
    const auto lines = CLogCapture::Take();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], (SLogLine{L": CryptAsn1Base:252", true}));
    LogInit(nullptr, {});
}

TEST(Asn1BlockParse, NestingIsBoundedAt64Levels) {
    const auto nested = [](size_t wrappers) {
        std::string hex;
        for (size_t i = 0; i < wrappers; ++i) {
            hex += "3080";
        }
        hex += "3000";
        for (size_t i = 0; i < wrappers; ++i) {
            hex += "0000";
        }
        return FromHex(hex);
    };
    CInput deepest(nested(kMaxAsn1Nesting - 1));  // 64 levels
    EXPECT_EQ(ParseCode(deepest), 0u);
    CInput tooDeep(nested(kMaxAsn1Nesting));
    EXPECT_EQ(ParseCode(tooDeep), kCorrupt);
    EXPECT_EQ(ParseCode(tooDeep, true), kCorrupt);  // not a truncation: never quiet
}

TEST(Asn1BlockParse, AbsoluteOffsetsFollowTheBuffer) {
    CInput input(FromHex("30 07 30 00 A0 03 02 01 01 05 00"));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    const struct {
        const wchar_t* path;
        uint32_t offset;
    } expected[] = {{L"0", 0}, {L"0/0", 2}, {L"0/1", 4}, {L"0/1/0", 6}, {L"1", 9}};
    for (const auto& e : expected) {
        SCOPED_TRACE(ca::u16u8(e.path));
        const CAsn1Block* block = parser.GetBlockByPath(e.path);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->offset, e.offset);
    }
}

TEST(Asn1BlockPath, LooksUpChildIndexes) {
    CInput input(FromHex("30 06 02 01 01 02 01 02"));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    const CAsn1Block* second = parser.GetInnerBlock(0)->GetInnerBlock(1);
    struct SCase {
        const wchar_t* path;
        const CAsn1Block* found;
    };
    const SCase cases[] = {
        {L"0/1", second},  {L"/0//1", second}, {L"0/1/", second}, {L" 0/+1", second},
        {L"0/1x", second}, {L"0/2", nullptr},  {L"1", nullptr},   {L"0/1/0", nullptr},
        {L"-1", nullptr},  {L"", nullptr},     {L"///", nullptr}, {L"0/99999999999999999999999", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ca::u16u8(c.path));
        EXPECT_EQ(parser.GetBlockByPath(c.path), c.found);
    }
    EXPECT_EQ(parser.GetBlockByPath(L"0"), parser.GetInnerBlock(0));
    EXPECT_EQ(parser.GetInnerBlock(0)->GetBlockByPath(L"1"), second);
    EXPECT_THROW(parser.GetBlockByPath(L"x"), std::invalid_argument);
    EXPECT_THROW(parser.GetBlockByPath(L"0/-"), std::invalid_argument);
}

TEST(Asn1BlockPath, TagAndSpecificIndexLookups) {
    // Children: INTEGER, [1] primitive, [APPLICATION 2] constructed, [3] constructed, [PRIVATE 1].
    CInput input(FromHex("30 0F 020101 8101FF 6200 A303020102 C100"));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    const CAsn1Block* outer = parser.GetInnerBlock(0);
    ASSERT_EQ(outer->GetInnerBlockCount(), 5u);
    EXPECT_EQ(outer->GetBlockByTag(0x02), outer->GetInnerBlock(0));
    EXPECT_EQ(outer->GetBlockByTag(0x02, 1), nullptr);
    EXPECT_EQ(outer->GetBlockByTag(0xA3, 3), outer->GetInnerBlock(3));
    EXPECT_EQ(outer->GetBlockByTag(0x81, 9), nullptr);
    EXPECT_EQ(outer->GetBlockBySpecificIdx(1), outer->GetInnerBlock(1));
    EXPECT_EQ(outer->GetBlockBySpecificIdx(2), outer->GetInnerBlock(2));
    EXPECT_EQ(outer->GetBlockBySpecificIdx(3), outer->GetInnerBlock(3));
    EXPECT_EQ(outer->GetBlockBySpecificIdx(3, 4), nullptr);
    EXPECT_EQ(outer->GetBlockBySpecificIdx(0), nullptr);
    EXPECT_EQ(outer->GetBlockBySpecificIdx(0x41), outer->GetInnerBlock(4));  // private [1] as context

    struct SIndex {
        uint8_t tag;
        bool context, application, constructed;
        uint32_t contextIndex, applicationIndex;
    };
    const SIndex indexes[] = {
        {0x81, true, false, false, 1, 0x81},     {0xA3, true, false, true, 3, 0x83},
        {0x62, false, true, true, 0x42, 2},      {0xC1, true, true, false, 0x41, 0x81},
        {0x1E, false, false, false, 0x1E, 0x1E},
    };
    for (const auto& x : indexes) {
        SCOPED_TRACE(static_cast<int>(x.tag));
        CAsn1Block block;
        block.tag = x.tag;
        EXPECT_EQ(block.IsContextSpecific(), x.context);
        EXPECT_EQ(block.IsApplicationSpecific(), x.application);
        EXPECT_EQ(block.IsConstructed(), x.constructed);
        EXPECT_EQ(block.GetContextSpecificIndex(), x.contextIndex);
        EXPECT_EQ(block.GetApplicationSpecificIndex(), x.applicationIndex);
    }
}

TEST(Asn1BlockWrite, DetachedAndImportedBlocks) {
    CInput input(FromHex("30 06 02 01 01 02 01 02"));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    CAsn1Block* outer = parser.GetInnerBlock(0);
    outer->GetInnerBlock(0)->isDetached = true;
    EXPECT_EQ(parser.Build(), FromHex("30 03 02 01 02"));

    CAsn1Block holder;
    holder.tag = 0x31;
    std::unique_ptr<CAsn1Block> copy = holder.ImportInnerBlock(*outer);
    EXPECT_EQ(copy->parent, &holder);
    EXPECT_EQ(holder.GetInnerBlockCount(), 0u);  // imported, not yet appended
    ASSERT_EQ(copy->GetInnerBlockCount(), 2u);
    EXPECT_EQ(copy->GetInnerBlock(1)->parent, copy.get());
    EXPECT_TRUE(copy->GetInnerBlock(0)->isDetached);
    holder.innerBlocks.push_back(std::move(copy));
    std::vector<uint8_t> out(holder.GetTotalLength(true));
    size_t position = 0;
    holder.GetAsn1Data(out.data(), &position);
    EXPECT_EQ(position, out.size());
    EXPECT_EQ(out, FromHex("31 05 30 03 02 01 02"));

    holder.DeleteInnerBlocks();
    EXPECT_EQ(holder.GetInnerBlockCount(), 0u);
    EXPECT_EQ(holder.GetInnerBlock(0), nullptr);
}

TEST(Asn1BlockWrite, BuildAfterQuietTruncationLogsTheCode) {
    CInput input(FromHex("30 05 02 01 05 02 01"));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size(), true);
    LogInit(&CLogCapture::CaptureLogLine, {});
    CLogCapture::Clear();
    const std::vector<uint8_t> built = parser.Build();
    const auto lines = CLogCapture::Take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], (SLogLine{L": CryptAsn1Base:92", true}));
    EXPECT_EQ(built, FromHex("30 05 02 01 05 02 00"));  // the cut child is written as far as it was read
    LogInit(nullptr, {});
}

class Asn1Dump : public ::testing::Test {
protected:
    void SetUp() override { SetVALKOLng(L"en"); }

    static std::string Dump(const std::string& hex) {
        CInput input(FromHex(hex));
        CCryptAsn1Parser parser;
        parser.Parse(input.data(), input.size());
        return parser.GetAsn1Structure();
    }
};

TEST_F(Asn1Dump, PrimitiveIntegerText) {
    EXPECT_EQ(
        Dump("020105"),
        R"j({"structure":{"tag":2,"formattedStringValue":"5","tagString":"02 INTEGER(PRIMITIVE)","length":3,)j"
        R"j("offset":0,"isUnknownLength":false,"corrupted":false}})j");
}

TEST_F(Asn1Dump, ConstructedContextAndIndefiniteForms) {
    EXPECT_EQ(Dump("30 80 A0 03 02 01 01 80 01 FF 00 00"),
              R"j({"structure":{"tag":48,"tagString":"30(CONSTRUCTED)","length":10,"offset":0,)j"
              R"j("isUnknownLength":true,"corrupted":false,"innerBlocks":[)j"
              R"j({"structure":{"tag":160,"tagString":"A0(CONSTRUCTED, CONTEXT)","length":5,"offset":2,)j"
              R"j("isUnknownLength":false,"corrupted":false,"innerBlocks":[)j"
              R"j({"structure":{"tag":2,"formattedStringValue":"1","tagString":"02 INTEGER(PRIMITIVE)",)j"
              R"j("length":3,"offset":4,"isUnknownLength":false,"corrupted":false}}]}},)j"
              R"j({"structure":{"tag":128,"formattedStringValue":"","tagString":"80 (PRIMITIVE, CONTEXT)",)j"
              R"j("length":3,"offset":7,"isUnknownLength":false,"corrupted":false}}]}})j");
}

TEST_F(Asn1Dump, ObjectIdentifierGetsADescription) {
    EXPECT_EQ(Dump("060150"),
              R"j({"structure":{"tag":6,"description":"Unknown OID","formattedStringValue":"2.0",)j"
              R"j("tagString":"06 OBJECT IDENTIFIER(PRIMITIVE)","length":3,"offset":0,)j"
              R"j("isUnknownLength":false,"corrupted":false}})j");
    const std::string commonName = Dump("0603550403");
    const std::string description = ca::u16u8(GetOidDescription(L"2.5.4.3"));
    EXPECT_NE(
        commonName.find(R"j("description":")j" + description + R"j(","formattedStringValue":"2.5.4.3")j"),
        std::string::npos)
        << commonName;
}

TEST_F(Asn1Dump, FirstBlockOnlyAndCorruptedFlag) {
    EXPECT_EQ(Dump("0500 0101FF").find("BOOLEAN"), std::string::npos);
    const std::string corrupted = Dump("30 01 04 05 00 05 00 05 00");
    EXPECT_NE(corrupted.find(R"j("length":3,"offset":0,"isUnknownLength":false,"corrupted":true)j"),
              std::string::npos)
        << corrupted;
    CCryptAsn1Parser empty;
    EXPECT_EQ(empty.GetAsn1Structure(), "");
}

}  // namespace
