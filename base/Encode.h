#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/Blob.h"

namespace ca {

// ReverseByte mirrors the bit order of b (bit 7 becomes bit 0): a DER BIT STRING's first named bit
// is the byte's high bit, a flag word's first flag its low bit.
constexpr uint8_t ReverseByte(uint8_t b) {
    uint8_t reversed = 0;
    for (int i = 0; i < 8; ++i) {
        reversed = static_cast<uint8_t>(reversed << 1 | ((b >> i) & 1));
    }
    return reversed;
}
static_assert(ReverseByte(0x80) == 0x01 && ReverseByte(0xA0) == 0x05 && ReverseByte(0x01) == 0x80);

// Base64Encode returns standard base64 (RFC 4648, "=" padding, no line breaks) of the bytes.
std::string Base64Encode(const uint8_t* bytes, uint32_t count);
// Base64EncodedSize is the length of that text; Base64EncodeTo writes it at out (which holds
// Base64EncodedSize(count) characters, no NUL added) and returns its length.
constexpr size_t Base64EncodedSize(size_t count) { return (count + 2) / 3 * 4; }
size_t Base64EncodeTo(const uint8_t* bytes, size_t count, char* out);

// Base64Decode decodes NUL-terminated text into a new block. Empty text leaves out untouched and
// size 0. The scan stops at the first "=" or at any character outside the alphabet (skipping CR and
// LF). Throws Exception(16118) when nothing decodes, Exception(16197) when memory runs out.
void Base64Decode(const char* text, MallocPtr& out, uint32_t& size);
// The same over text[0, length), which need not be NUL-terminated (a NUL in it stops the scan).
void Base64Decode(const char* text, size_t length, MallocPtr& out, uint32_t& size);

// _IsBase64String: every character of text[0, length) (length 0: up to the NUL) is a base64
// letter, "=", CR or LF.
bool _IsBase64String(const char* text, uint32_t length);

// A PEM-style armour: opening and closing lines, compared byte for byte.
using TokenPair = std::pair<const char*, const char*>;
extern const TokenPair CERT_TOKEN;
extern const TokenPair CRL_TOKEN;
extern const TokenPair PKCS7_TOKEN;
extern const TokenPair CMS_SIGN_TOKEN;
extern const TokenPair PKCS7_SIGN_TOKEN;  // blanks inside the dashes on purpose
extern const TokenPair ENC_TOKEN;         // blanks inside the dashes on purpose

// DecodeBase64IfNeeded turns an armoured or bare base64 payload into bytes. Returns true and fills
// out/outSize when it decoded something; false leaves the payload to be taken as raw bytes.
bool DecodeBase64IfNeeded(const uint8_t* payload, uint32_t size, const std::vector<TokenPair>& tokens,
                          MallocPtr& out, uint32_t& outSize);

// u8u16 decodes UTF-8 into one code point per wchar_t; invalid sequences become U+FFFD.
std::wstring u8u16(const char* text);
std::wstring u8u16(const char* text, size_t length);
std::wstring u8u16(const std::string& text);

// u16u8 encodes code points as UTF-8; values that are no scalar value become U+FFFD.
std::string u16u8(const wchar_t* text);
std::string u16u8(const std::wstring& text);

// UuidGenerate returns a random version-4 UUID as "{xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx}".
std::string UuidGenerate();

}  // namespace ca

// CW2A is a temporary UTF-8 copy of a wide text, for call sites that need a char pointer.
class CW2A {
public:
    explicit CW2A(const wchar_t* text) : _text(ca::u16u8(text)) {}
    explicit CW2A(const std::wstring& text) : _text(ca::u16u8(text)) {}
    operator const char*() const { return _text.c_str(); }
    const std::string& str() const { return _text; }

private:
    std::string _text;
};
