// The block parser: byte tables for lengths, nesting, truncation, writing back, paths and the dump.
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

#include "base/Encode.h"
#include "base/Lng.h"
#include "tests/asn1/Asn1TestUtil.h"

namespace {

using asn1test::CInput;
using asn1test::FromHex;
using asn1test::ParseCode;
using asn1test::SParsed;

constexpr uint32_t kEnd = ca::kAsn1EndOfData;
constexpr uint32_t kCorrupt = ca::kAsn1CorruptData;

TEST(Asn1BlockParse, EachInputShapeGivesItsCodeAndLogsItsSite) {
    // hex, and the site logged as "CryptAsn1Base:<line>" before 0x80093102 is thrown (0: parses).
    const std::pair<const char*, long> cases[] = {
        {"", 190},                  // nothing to read
        {"30", 190},                // one byte
        {"3082", 194},              // long-form length octets missing
        {"308201", 194},            // one of two length octets
        {"3000", 0},                // empty SEQUENCE
        {"0500", 0},                // NULL
        {"0201", 269},              // primitive content missing
        {"020205", 269},            // primitive content runs past the data
        {"1F0100", 0},              // tag 31 is not followed: the next octet is the length
        {"30030201", 269},          // child content missing
        {"3004020105", 241},        // the next child header would lie past the data
        {"3080020105", 260},        // no end-of-contents
        {"308002010500", 260},      // half an end-of-contents pair
        {"30800000", 260},          // the first child is read before any end-of-contents check
        {"30800001050000", 0},      // 00 01 05 is a child with tag 0, then the end-of-contents
        {"04804142000000", 190},    // the primitive consumed its pair; 00 alone is one byte
        {"0480000000", 0},          // keeps one content byte (00), then the pair
        {"048000", 207},            // too short for content and pair
        {"0480414200", 207},        // no pair
        {"0484FFFFFFFF41", 269},    // a length of 4 GiB over one byte
        {"020101020102", 0},        // two top-level blocks
        {"02010102", 190},          // a truncated second block
        {"300104050005000500", 0},  // children overrun their parent: marked, not refused
    };
    const CLogScope log;
    for (const auto& [hex, line] : cases) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(ParseCode(CInput(FromHex(hex))), line == 0 ? 0 : kEnd);
        const auto lines = CLogScope::Take();
        if (line != 0) {
            ASSERT_EQ(lines.size(), 2u);
            EXPECT_EQ(lines[0], (SLogLine{L": CryptAsn1Base:" + std::to_wstring(line), true}));
        }
        EXPECT_EQ(ParseCode(CInput(FromHex(hex)), true), 0u);  // quietly: not an error, nothing logged
        for (const SLogLine& quiet : CLogScope::Take()) {
            EXPECT_FALSE(quiet.isError);
        }
    }
}

TEST(Asn1BlockParse, OverrunMarksTheParentCorruptedOrFailsWhenStrict) {
    const CLogScope log;
    SParsed parsed("30 01 04 05 00 05 00 05 00");  // the OCTET STRING (5) overruns its SEQUENCE (1)
    ASSERT_EQ(parsed.parser.GetInnerBlockCount(), 4u);
    EXPECT_TRUE(parsed.First()->isCorrupted);
    EXPECT_FALSE(parsed.First()->IsCanonical());  // written back, it would differ
    EXPECT_FALSE(parsed.parser.GetInnerBlock(1)->isCorrupted);
    const SLogLine event{L"Поврежденные asn.1 данные в смещении 0", false};
    EXPECT_EQ(CLogScope::Take(), std::vector<SLogLine>{event});
    EXPECT_EQ(ParseCode(CInput(parsed.input.bytes()), false, true), kCorrupt);
    EXPECT_EQ(CLogScope::Take().at(1), (SLogLine{L": CryptAsn1Base:252", true}));
    EXPECT_EQ(ParseCode(CInput(parsed.input.bytes()), true, true), kCorrupt);  // not a truncation: not quiet
    EXPECT_EQ(CLogScope::Take(), std::vector<SLogLine>{event});
}

TEST(Asn1BlockParse, NestingIsBoundedAt64Levels) {
    std::string hex = "3000";
    for (size_t levels = 2; levels <= kMaxAsn1Nesting + 1; ++levels) {
        hex = "3080" + hex + "0000";
        EXPECT_EQ(ParseCode(CInput(FromHex(hex))), levels <= kMaxAsn1Nesting ? 0 : kCorrupt) << levels;
    }
    EXPECT_EQ(ParseCode(CInput(FromHex(hex)), true), kCorrupt);  // not a truncation: never quiet
}

TEST(Asn1BlockParse, QuietTruncationKeepsWhatWasReadAndBuildReportsIt) {
    CInput cut(FromHex("30820100 020105 0201"));
    CCryptAsn1Parser parser;
    parser.Parse(cut.data(), cut.size(), true);
    EXPECT_EQ(parser.lastError, kEnd);
    const CAsn1Block* outer = parser.GetInnerBlock(0);
    ASSERT_EQ(outer->GetInnerBlockCount(), 2u);
    EXPECT_TRUE(outer->isCorrupted);
    EXPECT_LE(outer->length, 5u);  // inside the data
    EXPECT_FALSE(outer->GetInnerBlock(0)->isCorrupted);
    EXPECT_TRUE(outer->GetInnerBlock(1)->isCorrupted);

    const CLogScope log;
    EXPECT_EQ(parser.Build(), FromHex("30 05 020105 0200"));  // the cut child as far as it was read
    EXPECT_EQ(asn1test::FirstLogLine(), L": CryptAsn1Base:92");
    std::vector<uint8_t> out(parser.GetTotalLength());
    EXPECT_EQ(parser.Build(out.data()), out.size());
    EXPECT_EQ(out, FromHex("30 05 020105 0200"));
}

TEST(Asn1BlockParse, WrittenBackWithMinimalLengths) {
    const std::string content256(512, 'A');  // 256 bytes 0xAA
    struct SCase {
        std::string hex;
        uint32_t length, totalLength;  // as parsed
        std::string written;           // "": the input itself
    };
    const SCase cases[] = {
        {"30 80 020105 0000", 3, 5, ""},  // the parsed total leaves out the end-of-contents pair
        {"3080 3080 020105 0000 0500 0000", 9, 11, ""},
        {"3080 0480414200000000", 6, 8, ""},
        {"2480 0402 4142 0401 43 0000", 7, 9, ""},
        {"04 82 0100" + content256, 256, 260, ""},
        {"04 81 05 0102030405", 5, 8, "04 05 0102030405"},   // accepted although not minimal
        {"04 85 0100000002 414243", 3, 10, "04 03 414243"},  // Deliberate: octets past four wrap
        {"04 86 010000000000" + content256, 256, 264, "04 82 0100" + content256},
        {"30 81 03 020105", 3, 6, "30 03 020105"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex.substr(0, 32));
        SParsed parsed(c.hex);
        EXPECT_EQ(parsed.First()->length, c.length);
        EXPECT_EQ(parsed.parser.totalLength, c.totalLength);
        const std::vector<uint8_t> written = c.written.empty() ? parsed.input.bytes() : FromHex(c.written);
        EXPECT_EQ(parsed.parser.GetTotalLength(), written.size());
        EXPECT_EQ(parsed.parser.Build(), written);
    }
}

TEST(Asn1BlockParse, FirstBlockOnlyLeavesTheRest) {
    const CLanguageScope english(L"en");
    const CLogScope log;
    CInput input(FromHex("020101 0500"));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size(), false, false, true);
    EXPECT_EQ(parser.GetInnerBlockCount(), 1u);
    EXPECT_EQ(asn1test::FirstLogLine(), L"The unprocessed data remained after the first block ASN1.");
}

TEST(Asn1BlockPath, LooksUpChildIndexesTagsAndContextIndexes) {
    // Children: INTEGER, INTEGER, [1] primitive, [APPLICATION 2] constructed, [PRIVATE 1].
    SParsed parsed("30 0D 020101 020102 8101FF 6200 C100");
    const CAsn1Block* outer = parsed.First();
    const CAsn1Block* second = outer->GetInnerBlock(1);
    const std::pair<const wchar_t*, const CAsn1Block*> cases[] = {
        {L"0", outer},       {L"0/1", second},  {L"/0//1/", second},
        {L" 0/+1x", second}, {L"0/5", nullptr}, {L"0/1/0", nullptr},
        {L"-1", nullptr},    {L"///", nullptr}, {L"0/99999999999999999999999", nullptr}};
    for (const auto& [path, found] : cases) {
        EXPECT_EQ(parsed.parser.GetBlockByPath(path), found) << ca::u16u8(path);
    }
    EXPECT_EQ(outer->GetBlockByPath(L"1"), second);
    EXPECT_THROW(parsed.parser.GetBlockByPath(L"x"), std::invalid_argument);
    EXPECT_THROW(parsed.parser.GetBlockByPath(L"0/-"), std::invalid_argument);

    EXPECT_EQ(outer->GetBlockByTag(0x02, 1), second);
    EXPECT_EQ(outer->GetBlockByTag(0x02, 2), nullptr);
    EXPECT_EQ(outer->GetBlockBySpecificIdx(1), outer->GetInnerBlock(2));
    EXPECT_EQ(outer->GetBlockBySpecificIdx(2), outer->GetInnerBlock(3));
    EXPECT_EQ(outer->GetBlockBySpecificIdx(1, 3), nullptr);
    // Deliberate: the private class counts as context-specific, and its index keeps bit 6.
    EXPECT_EQ(outer->GetBlockBySpecificIdx(0x41), outer->GetInnerBlock(4));
}

TEST(Asn1BlockWrite, DetachedBlocksAreSkippedAndImportsCopyDeep) {
    SParsed parsed("30 06 02 01 01 02 01 02");
    parsed.First()->GetInnerBlock(0)->isDetached = true;
    EXPECT_EQ(parsed.parser.Build(), FromHex("30 03 02 01 02"));

    CAsn1Block holder(&parsed.parser);
    holder.tag = 0x31;
    std::unique_ptr<CAsn1Block> copy = holder.ImportInnerBlock(*parsed.First());
    EXPECT_EQ(holder.GetInnerBlockCount(), 0u);  // imported, not yet appended
    EXPECT_EQ(copy->GetInnerBlock(1)->parent, copy.get());
    holder.innerBlocks.push_back(std::move(copy));
    std::vector<uint8_t> out(holder.GetTotalLength(true));
    size_t position = 0;
    holder.GetAsn1Data(out.data(), &position);
    EXPECT_EQ(out, FromHex("31 05 30 03 02 01 02"));
    for (const size_t capacity : {size_t{5}, size_t{6}}) {  // the bounded form stops in a header, a content
        position = 0;
        EXPECT_EQ(CodeOf([&] { holder.GetAsn1Data(out.data(), capacity, &position); }), kCorrupt);
    }
}

TEST(Asn1Dump, IndefiniteContextAndCorruptedBlocks) {
    const std::pair<const char*, const char*> cases[] = {
        {"30 80 A0 03 02 01 01 80 01 FF 00 00",
         R"j({"structure":{"tag":48,"tagString":"30(CONSTRUCTED)","length":10,"offset":0,)j"
         R"j("isUnknownLength":true,"corrupted":false,"innerBlocks":[)j"
         R"j({"structure":{"tag":160,"tagString":"A0(CONSTRUCTED, CONTEXT)","length":5,"offset":2,)j"
         R"j("isUnknownLength":false,"corrupted":false,"innerBlocks":[)j"
         R"j({"structure":{"tag":2,"formattedStringValue":"1","tagString":"02 INTEGER(PRIMITIVE)",)j"
         R"j("length":3,"offset":4,"isUnknownLength":false,"corrupted":false}}]}},)j"
         R"j({"structure":{"tag":128,"formattedStringValue":"","tagString":"80 (PRIMITIVE, CONTEXT)",)j"
         R"j("length":3,"offset":7,"isUnknownLength":false,"corrupted":false}}]}})j"},
        {"30 01 04 05 00 05 00 05 00",
         R"j({"structure":{"tag":48,"tagString":"30(CONSTRUCTED)","length":3,"offset":0,"isUnknownLength":false,)j"
         R"j("corrupted":true,"innerBlocks":[{"structure":{"tag":4,"formattedStringValue":"0005000500",)j"
         R"j("tagString":"04 OCTET STRING(PRIMITIVE)","length":7,"offset":2,"isUnknownLength":false,)j"
         R"j("corrupted":false}}]}})j"},
    };
    for (const auto& [hex, json] : cases) {
        EXPECT_EQ(SParsed(hex).parser.GetAsn1Structure(), json) << hex;
    }
    EXPECT_EQ(CCryptAsn1Parser().GetAsn1Structure(), "");
}

}  // namespace
