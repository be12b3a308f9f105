#include "base/Encode.h"

#include <sys/random.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "base/ErrorCodes.h"
#include "base/Exception.h"

namespace ca {

MallocPtr AllocOrThrow(size_t n) {
    void* block = std::malloc(n == 0 ? 1 : n);
    if (block == nullptr) {
        throw Exception(kExecutionError);
    }
    return MallocPtr(static_cast<uint8_t*>(block));
}

MallocPtr CopyBlob(const uint8_t* bytes, size_t n) {
    MallocPtr copy = AllocOrThrow(n);
    if (n != 0) {
        std::memcpy(copy.get(), bytes, n);
    }
    return copy;
}

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Decode table: 0..63 a sextet, kSkip for CR/LF, kStop for "=", NUL and every other character.
constexpr uint8_t kSkip = 0x40;
constexpr uint8_t kStop = 0x80;

constexpr std::array<uint8_t, 256> MakeDecodeTable() {
    std::array<uint8_t, 256> table{};
    for (auto& entry : table) {
        entry = kStop;
    }
    for (uint8_t i = 0; i < 64; ++i) {
        table[static_cast<uint8_t>(kAlphabet[i])] = i;
    }
    table['\r'] = kSkip;
    table['\n'] = kSkip;
    return table;
}

constexpr auto kDecode = MakeDecodeTable();
static_assert(kDecode['A'] == 0 && kDecode['/'] == 63 && kDecode['='] == kStop && kDecode['\n'] == kSkip);

bool IsBase64Char(uint8_t c) { return kDecode[c] < kSkip || c == '=' || kDecode[c] == kSkip; }

}  // namespace

size_t Base64EncodeTo(const uint8_t* bytes, size_t count, char* out) {
    if (count == 0 || bytes == nullptr) {
        return 0;
    }
    char* const start = out;
    size_t i = 0;
    for (; i + 3 <= count; i += 3) {
        const uint32_t v = (uint32_t{bytes[i]} << 16) | (uint32_t{bytes[i + 1]} << 8) | bytes[i + 2];
        *out++ = kAlphabet[v >> 18];
        *out++ = kAlphabet[(v >> 12) & 63];
        *out++ = kAlphabet[(v >> 6) & 63];
        *out++ = kAlphabet[v & 63];
    }
    if (i < count) {
        const bool two = i + 1 < count;
        const uint32_t v = (uint32_t{bytes[i]} << 16) | (two ? uint32_t{bytes[i + 1]} << 8 : 0);
        *out++ = kAlphabet[v >> 18];
        *out++ = kAlphabet[(v >> 12) & 63];
        *out++ = two ? kAlphabet[(v >> 6) & 63] : '=';
        *out++ = '=';
    }
    return static_cast<size_t>(out - start);
}

std::string Base64Encode(const uint8_t* bytes, uint32_t count) {
    std::string text;
    if (count == 0 || bytes == nullptr) {
        return text;
    }
    text.resize(Base64EncodedSize(count));
    Base64EncodeTo(bytes, count, text.data());
    return text;
}

void Base64Decode(const char* text, MallocPtr& out, uint32_t& size) {
    Base64Decode(text, text == nullptr ? 0 : std::strlen(text), out, size);
}

void Base64Decode(const char* text, size_t length, MallocPtr& out, uint32_t& size) {
    size = 0;
    if (text == nullptr || length == 0 || *text == '\0') {
        return;
    }
    // Four characters make at most three bytes.
    MallocPtr block = AllocOrThrow(length / 4 * 3 + 3);
    const auto* in = reinterpret_cast<const uint8_t*>(text);
    const uint8_t* const end = in + length;
    uint8_t* dst = block.get();
    uint32_t group = 0;
    int pending = 0;
    while (in < end) {
        // Fast path: four alphabet characters in a row make three bytes.
        if (pending == 0 && end - in >= 4) {
            const uint8_t a = kDecode[in[0]], b = kDecode[in[1]], c = kDecode[in[2]], d = kDecode[in[3]];
            if (((a | b | c | d) & (kSkip | kStop)) == 0) {
                const uint32_t v = (uint32_t{a} << 18) | (uint32_t{b} << 12) | (uint32_t{c} << 6) | d;
                dst[0] = static_cast<uint8_t>(v >> 16);
                dst[1] = static_cast<uint8_t>(v >> 8);
                dst[2] = static_cast<uint8_t>(v);
                dst += 3;
                in += 4;
                continue;
            }
        }
        const uint8_t value = kDecode[*in++];
        if (value == kSkip) {
            continue;
        }
        if (value == kStop) {  // "=", or any foreign character: the rest is ignored
            break;
        }
        group = (group << 6) | value;
        if (++pending == 4) {
            dst[0] = static_cast<uint8_t>(group >> 16);
            dst[1] = static_cast<uint8_t>(group >> 8);
            dst[2] = static_cast<uint8_t>(group);
            dst += 3;
            group = 0;
            pending = 0;
        }
    }
    if (pending == 2) {
        *dst++ = static_cast<uint8_t>(group >> 4);
    } else if (pending == 3) {
        *dst++ = static_cast<uint8_t>(group >> 10);
        *dst++ = static_cast<uint8_t>(group >> 2);
    }
    const size_t produced = static_cast<size_t>(dst - block.get());
    if (produced == 0) {
        throw Exception(kNoDataInArgs);
    }
    out = std::move(block);
    size = static_cast<uint32_t>(produced);
}

bool _IsBase64String(const char* text, uint32_t length) {
    if (text == nullptr) {
        return false;
    }
    const size_t n = length == 0 ? std::strlen(text) : length;
    for (size_t i = 0; i < n; ++i) {
        if (!IsBase64Char(static_cast<uint8_t>(text[i]))) {
            return false;
        }
    }
    return true;
}

const TokenPair CERT_TOKEN{"-----BEGIN CERTIFICATE-----", "-----END CERTIFICATE-----"};
const TokenPair CRL_TOKEN{"-----BEGIN X509 CRL-----", "-----END X509 CRL-----"};
const TokenPair PKCS7_TOKEN{"-----BEGIN PKCS7-----", "-----END PKCS7-----"};
const TokenPair CMS_SIGN_TOKEN{"-----BEGIN CMS-----", "-----END CMS-----"};
const TokenPair PKCS7_SIGN_TOKEN{"----- BEGIN PKCS7 SIGNED -----", "----- END PKCS7 SIGNED -----"};
const TokenPair ENC_TOKEN{"----- BEGIN PKCS7 ENCRYPTED -----", "----- END PKCS7 ENCRYPTED -----"};

namespace {

// DecodeSpan decodes n bytes of text that need not be NUL-terminated.
uint32_t DecodeSpan(const uint8_t* text, size_t n, MallocPtr& out) {
    MallocPtr copy = AllocOrThrow(n + 1);
    if (n != 0) {
        std::memcpy(copy.get(), text, n);
    }
    copy[n] = 0;
    uint32_t size = 0;
    Base64Decode(reinterpret_cast<const char*>(copy.get()), out, size);
    return size;
}

}  // namespace

bool DecodeBase64IfNeeded(const uint8_t* payload, uint32_t size, const std::vector<TokenPair>& tokens,
                          MallocPtr& out, uint32_t& outSize) {
    out.reset();
    outSize = 0;
    if (payload == nullptr || size == 0) {
        return false;
    }
    for (const TokenPair& token : tokens) {
        const size_t openLength = std::strlen(token.first);
        if (openLength >= size || std::memcmp(payload, token.first, openLength) != 0) {
            continue;
        }
        const size_t closeLength = std::strlen(token.second);
        size_t bodyEnd = size;
        // Deliberate: a missing closing line is tolerated; the body then runs to the end.
        if (size - openLength >= closeLength &&
            std::memcmp(payload + size - closeLength, token.second, closeLength) == 0) {
            bodyEnd = size - closeLength;
        }
        outSize = DecodeSpan(payload + openLength, bodyEnd - openLength, out);
        if (outSize != 0) {
            return true;
        }
        break;
    }
    const void* nul = std::memchr(payload, 0, size);
    const size_t textLength =
        nul == nullptr ? size : static_cast<size_t>(static_cast<const uint8_t*>(nul) - payload);
    for (size_t i = 0; i < textLength; ++i) {
        if (!IsBase64Char(payload[i])) {
            return false;
        }
    }
    outSize = DecodeSpan(payload, textLength, out);
    return outSize != 0;
}

std::wstring u8u16(const char* text, size_t length) {
    std::wstring result;
    if (text == nullptr) {
        return result;
    }
    result.reserve(length);
    const auto* p = reinterpret_cast<const uint8_t*>(text);
    const uint8_t* const end = p + length;
    while (p < end) {
        const uint8_t lead = *p;
        if (lead < 0x80) {
            result.push_back(static_cast<wchar_t>(lead));
            ++p;
            continue;
        }
        size_t extra = 0;
        uint32_t cp = 0;
        uint32_t minimum = 0;
        if ((lead & 0xE0) == 0xC0) {
            extra = 1, cp = lead & 0x1F, minimum = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            extra = 2, cp = lead & 0x0F, minimum = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            extra = 3, cp = lead & 0x07, minimum = 0x10000;
        } else {
            result.push_back(L'\uFFFD');
            ++p;
            continue;
        }
        size_t taken = 1;
        bool valid = static_cast<size_t>(end - p) > extra;
        for (; valid && taken <= extra; ++taken) {
            if ((p[taken] & 0xC0) != 0x80) {
                valid = false;
                break;
            }
            cp = (cp << 6) | (p[taken] & 0x3F);
        }
        if (!valid || cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            result.push_back(L'\uFFFD');
            ++p;  // resynchronise on the next byte
            continue;
        }
        result.push_back(static_cast<wchar_t>(cp));
        p += extra + 1;
    }
    return result;
}

std::wstring u8u16(const char* text) {
    return text == nullptr ? std::wstring() : u8u16(text, std::strlen(text));
}

std::wstring u8u16(const std::string& text) { return u8u16(text.data(), text.size()); }

std::string u16u8(const std::wstring& text) {
    std::string result;
    result.reserve(text.size());
    for (const wchar_t ch : text) {
        // wchar_t is 32 bits here; clang-tidy 14 mistakes it for a char type.
        auto cp = static_cast<uint32_t>(ch);  // NOLINT(bugprone-signed-char-misuse)
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            cp = 0xFFFD;
        }
        if (cp < 0x80) {
            result.push_back(static_cast<char>(cp));
        } else if (cp < 0x800) {
            result.push_back(static_cast<char>(0xC0 | (cp >> 6)));
            result.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            result.push_back(static_cast<char>(0xE0 | (cp >> 12)));
            result.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            result.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else {
            result.push_back(static_cast<char>(0xF0 | (cp >> 18)));
            result.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            result.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            result.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
    }
    return result;
}

std::string u16u8(const wchar_t* text) { return text == nullptr ? std::string() : u16u8(std::wstring(text)); }

std::string UuidGenerate() {
    uint8_t b[16] = {};
    size_t got = 0;
    while (got < sizeof(b)) {
        const ssize_t n = getrandom(b + got, sizeof(b) - got, 0);
        if (n <= 0) {
            throw Exception(kExecutionError);
        }
        got += static_cast<size_t>(n);
    }
    b[6] = static_cast<uint8_t>((b[6] & 0x0F) | 0x40);  // version 4
    b[8] = static_cast<uint8_t>((b[8] & 0x3F) | 0x80);  // RFC 4122 variant
    char text[39];
    std::snprintf(text, sizeof(text),
                  "{%02x%02x%02x%02x-%02x%02x-%02x%02x-%02x%02x-%02x%02x%02x%02x%02x%02x}", b[0], b[1], b[2],
                  b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
    return text;
}

}  // namespace ca
