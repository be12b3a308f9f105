#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "ses/Hasher.h"
#include "ses/Utils.h"
#include "ses/crc64.h"

namespace {

// BitwiseCrc64 is an independent reference: one polynomial step per bit, no table.
uint64_t BitwiseCrc64(const std::vector<uint8_t>& data) {
    uint64_t crc = 0;
    for (const uint8_t byte : data) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool top = ((crc >> 63) & 1) != (((byte >> bit) & 1) != 0);
            crc = (crc << 1) ^ (top ? 0x42F0E1EBA9EA3693ULL : 0);
        }
    }
    return crc;
}

const unsigned char* U(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

TEST(Crc64, CatalogueCheckValueAndBitwiseReference) {
    EXPECT_EQ(crc64(U("123456789"), 9, 0), 0x6C40DF5F0B497347ULL);
    std::mt19937 random(20261122);
    for (const size_t size : {1u, 7u, 8u, 255u, 4096u, 100001u}) {
        std::vector<uint8_t> data(size);
        for (auto& b : data) {
            b = static_cast<uint8_t>(random());
        }
        EXPECT_EQ(crc64(data.data(), data.size(), 0), BitwiseCrc64(data)) << size;
    }
}

// The fast kernel against the table loop: lengths up to 1 MiB + 63 at every alignment, and the
// same data cut into chained calls at random places.
TEST(Crc64, FastKernelMatchesTheTableLoop) {
    std::mt19937 random(7);
    std::vector<uint8_t> data((size_t{1} << 20) + 128);
    for (auto& b : data) {
        b = static_cast<uint8_t>(random());
    }
    for (size_t align = 0; align < 64; ++align) {
        const size_t length = align == 0 ? data.size() - 64 : random() % ((size_t{1} << 20) + 64);
        SCOPED_TRACE(testing::Message() << "align " << align << " length " << length);
        const uint8_t* p = data.data() + align;
        ASSERT_EQ(crc64(p, length, 0), crc64_table(p, length, 0));
        uint64_t chained = 0;
        for (size_t at = 0; at < length;) {
            const size_t piece = std::min<size_t>(length - at, random() % 5000);
            chained = crc64(p + at, piece, chained);
            at += piece;
        }
        ASSERT_EQ(chained, crc64_table(p, length, 0));
    }
    EXPECT_EQ(crc64(data.data(), 0, 12345), 12345u);
}

TEST(Crc64Hash, DecimalTextOfChunksWithoutLeadingZeros) {
    Crc64Hash hash;
    hash.Compute(nullptr, 0);
    EXPECT_STREQ(hash.GetValue(), "0");
    hash.Compute(U("1234"), 4);
    hash.Compute(U("56789"), 5);
    EXPECT_STREQ(hash.GetValue(), "7800480153909949255");
    EXPECT_EQ(hash.GetValueLength(), 19u);
    // Single bytes reach registers with the top bit set: twenty digits, never a leading zero.
    size_t longest = 0;
    for (int b = 0; b < 256; ++b) {
        const unsigned char byte = static_cast<unsigned char>(b);
        Crc64Hash one;
        one.Compute(&byte, 1);
        longest = std::max(longest, one.GetValueLength());
        EXPECT_TRUE(one.GetValueLength() == 1 || one.GetValue()[0] != '0');
    }
    EXPECT_EQ(longest, 20u);
}

TEST(Utils, RandomTextAndDateFormat) {
    EXPECT_GE(GetRandom(3).size(), 4u);
    struct tm t {};
    t.tm_year = 2026 - 1900;
    t.tm_mday = 2;
    t.tm_hour = 3;
    t.tm_min = 4;
    t.tm_sec = 5;
    EXPECT_EQ(GetDateTimeString(t, true, true), L"02.01.2026 03:04:05");
}

}  // namespace
