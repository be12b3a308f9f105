#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "asn1/sha1.h"
#include "base/Encode.h"

namespace {

struct SHashCase {
    const char* label;
    std::wstring text;
    const wchar_t* digest;
};

// FIPS 180-1 and the padding edges: 55 characters fit one block, 56 and 64 need a second.
const SHashCase kHashCases[] = {
    {"empty", L"", L"da39a3ee5e6b4b0d3255bfef95601890afd80709"},
    {"abc", L"abc", L"a9993e364706816aba3e25717850c26c9cd0d89d"},
    {"56 characters", L"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
     L"84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
    {"55 characters", std::wstring(55, L'a'), L"c1c8bbdc22796e28c0e15163d20899b65621d65a"},
    {"64 characters", std::wstring(64, L'a'), L"0098ba824b5c16427bd7a1122a5a442a25ec644d"},
    {"a million a", std::wstring(1000000, L'a'), L"34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
    {"only the low byte counts", L"\u0141", L"6dcd4ce23d88e2ee9568ba546c007c63d9131c1b"},  // as "A"
    {"bytes above 127", L"\u00ff\u0080", L"2f52fa98aee1519d88a09e5019f4186aa4ba767a"},
};

TEST(Sha1, KnownDigests) {
    for (const auto& c : kHashCases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(SHA1::GetHash(c.text), c.digest);
    }
}

TEST(Sha1, UpdatesInPiecesMatchOneUpdate) {
    const std::wstring text = L"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    for (const size_t cut : {size_t{0}, size_t{1}, size_t{55}, size_t{56}}) {
        SCOPED_TRACE(cut);
        SHA1::Reset();
        std::wistringstream head(text.substr(0, cut));
        SHA1::Update(head);
        SHA1::Update(text.substr(cut));
        EXPECT_EQ(SHA1::Final(), L"84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    }
    // Final leaves the state ready for the next message.
    SHA1::Update(L"abc");
    EXPECT_EQ(SHA1::Final(), L"a9993e364706816aba3e25717850c26c9cd0d89d");
}

}  // namespace
