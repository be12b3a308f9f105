#include <gtest/gtest.h>

#include "base/Encode.h"
#include "base/Exception.h"
#include "tests/support/TestSupport.h"

namespace {

// Decoded is what Base64Decode (tokens null) or DecodeBase64IfNeeded makes of text: the bytes,
// "raw" when the payload is kept as it is, or "#<code>" when decoding throws.
std::string Decoded(const std::string& text, const std::vector<ca::TokenPair>* tokens = nullptr) {
    ca::MallocPtr out;
    uint32_t size = 0;
    try {
        if (tokens == nullptr) {
            ca::Base64Decode(text.c_str(), out, size);
        } else if (!ca::DecodeBase64IfNeeded(reinterpret_cast<const uint8_t*>(text.data()),
                                             static_cast<uint32_t>(text.size()), *tokens, out, size)) {
            return "raw";
        }
    } catch (const ca::Exception& e) {
        return "#" + std::to_string(e.code);
    }
    return std::string(reinterpret_cast<const char*>(out.get()), size);
}

TEST(Base64Decode, LenientScanRules) {
    const std::pair<const char*, const char*> cases[] = {
        {"QUJD", "ABC"},      {"QUI=", "AB"},  {"QQ==", "A"},      {"QUJD\r\nREVG", "ABCDEF"},
        {"QUJD*REVG", "ABC"},  // the scan ends at the first foreign character
        {"QUJDR", "ABC"},      // a lone trailing character gives nothing
        {"QUJDREU", "ABCDE"},  // three trailing characters give two bytes
        {"QUJD=REVG", "ABC"},  // everything after "=" is ignored
        {"====", "#16118"},   {"*", "#16118"}, {"\r\n", "#16118"}, {"Q", "#16118"}};
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Decoded(text), expected) << text;
    }
    // Empty text: size 0, the old buffer left in place.
    ca::MallocPtr out = ca::CopyBlob(reinterpret_cast<const uint8_t*>("x"), 1);
    const uint8_t* before = out.get();
    uint32_t size = 7;
    ca::Base64Decode("", out, size);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(out.get(), before);
    EXPECT_TRUE(ca::_IsBase64String("QU+/=\r\n", 0));
    EXPECT_FALSE(ca::_IsBase64String("QUJD REVG", 0));
    EXPECT_TRUE(ca::_IsBase64String("QUJD REVG", 4));  // only the given length is judged
    EXPECT_FALSE(ca::_IsBase64String("QU-J", 0));
}

TEST(Base64Encode, KnownAnswersAndRoundTripOfEveryLength) {
    EXPECT_EQ(ca::Base64Encode(nullptr, 0), "");
    EXPECT_EQ(B64("ABC") + B64("AB") + B64("A"), "QUJDQUI=QQ==");
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        bytes.push_back(static_cast<char>(i * 7 + 3));
        ASSERT_EQ(Decoded(B64(bytes)), bytes) << i;
    }
}

TEST(DecodeBase64IfNeeded, ArmouredAndBarePayloads) {
    const std::vector<ca::TokenPair> cert{ca::CERT_TOKEN};
    const std::vector<ca::TokenPair> sign{ca::PKCS7_SIGN_TOKEN, ca::CMS_SIGN_TOKEN, ca::PKCS7_TOKEN};
    const struct {
        const char* label;
        std::string payload;
        const std::vector<ca::TokenPair>& tokens;
        const char* expected;
    } cases[] = {
        {"armoured", "-----BEGIN CERTIFICATE-----\nQUJD\n-----END CERTIFICATE-----", cert, "ABC"},
        {"no closing line", "-----BEGIN CERTIFICATE-----\nQUJD\n", cert, "ABC"},
        {"newline after closing", "-----BEGIN CERTIFICATE-----\nQUJD\n-----END CERTIFICATE-----\n", cert,
         "ABC"},
        {"opening line alone", "-----BEGIN CERTIFICATE-----", cert, "raw"},
        {"bare base64", "QUJD\r\nREVG", cert, "ABCDEF"},
        {"raw bytes", std::string("\x30\x82\x01\x0a\x02", 5), cert, "raw"},
        {"text with blanks", "hello world", cert, "raw"},
        {"blank-padded signed armour", "----- BEGIN PKCS7 SIGNED -----QUJD----- END PKCS7 SIGNED -----", sign,
         "ABC"},
        {"second pair matches", "-----BEGIN CMS-----\nQUJD\n-----END CMS-----", sign, "ABC"},
        {"unlisted armour is no base64", "-----BEGIN CMS-----\nQUJD\n-----END CMS-----", cert, "raw"},
        {"judged up to the first NUL", std::string("QUJD\0\xff\xfe", 7), cert, "ABC"},
        {"padding only", "====", cert, "#16118"}};
    for (const auto& c : cases) {
        EXPECT_EQ(Decoded(c.payload, &c.tokens), c.expected) << c.label;
    }
}

TEST(TextConversion, Utf8RoundTripAndRepair) {
    const std::wstring text = L"A\u00e9\u0416\u20ac\U0001F600z";
    EXPECT_EQ(ca::u16u8(text), "A\xc3\xa9\xd0\x96\xe2\x82\xac\xf0\x9f\x98\x80z");
    EXPECT_EQ(ca::u8u16(ca::u16u8(text)), text);
    // Broken input never throws; each bad byte becomes U+FFFD.
    EXPECT_EQ(ca::u8u16("a\xff"
                        "b"),
              L"a\uFFFDb");
    EXPECT_EQ(ca::u8u16("\xe2\x82"), L"\uFFFD\uFFFD");
    EXPECT_EQ(ca::u8u16("\xc0\xaf"), L"\uFFFD\uFFFD");  // overlong "/"
    EXPECT_EQ(ca::u16u8(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xef\xbf\xbd");
    EXPECT_EQ(std::string(CW2A(L"\u0416")), "\xd0\x96");
}

TEST(UuidGenerate, BracedLowercaseVersion4) {
    const std::string a = ca::UuidGenerate();
    ASSERT_EQ(a.size(), 38u);
    EXPECT_NE(a, ca::UuidGenerate());
    EXPECT_EQ(std::string() + a[0] + a[9] + a[14] + a[15] + a[19] + a[24] + a[37], "{--4--}");
    EXPECT_EQ(a.find_first_not_of("{}-0123456789abcdef"), std::string::npos);
}

}  // namespace
