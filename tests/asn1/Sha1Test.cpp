// SHA-1 known answers (FIPS 180-1) and the padding edges: 55 characters fit one block, 56 and 64 need
// a second.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>

#include "asn1/sha1.h"
#include "base/Encode.h"

namespace {

TEST(Sha1, KnownDigestsWholeAndInPieces) {
    const std::wstring abc56 = L"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    const std::pair<std::wstring, const wchar_t*> cases[] = {
        {L"", L"da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {L"abc", L"a9993e364706816aba3e25717850c26c9cd0d89d"},
        {abc56, L"84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {std::wstring(55, L'a'), L"c1c8bbdc22796e28c0e15163d20899b65621d65a"},
        {std::wstring(64, L'a'), L"0098ba824b5c16427bd7a1122a5a442a25ec644d"},
        {std::wstring(1000000, L'a'), L"34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        {L"\u0141", L"6dcd4ce23d88e2ee9568ba546c007c63d9131c1b"},  // only the low byte counts: as "A"
        {L"\u00ff\u0080", L"2f52fa98aee1519d88a09e5019f4186aa4ba767a"},
    };
    for (const auto& [text, digest] : cases) {
        EXPECT_EQ(SHA1::GetHash(text), digest) << ca::u16u8(text.substr(0, 8));
    }
    // A stream, then a string: the same digest; Final leaves the state ready for the next message.
    for (const size_t cut : {size_t{0}, size_t{1}, size_t{55}, size_t{56}}) {
        SHA1::Reset();
        std::wistringstream head(abc56.substr(0, cut));
        SHA1::Update(head);
        SHA1::Update(abc56.substr(cut));
        EXPECT_EQ(SHA1::Final(), cases[2].second) << cut;
    }
    SHA1::Update(L"abc");
    EXPECT_EQ(SHA1::Final(), cases[1].second);
}

}  // namespace
