#pragma once

// Helpers of the asn1 suite: hex input, parse outcomes and the sample files.
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "asn1/Asn1Constructed.h"
#include "asn1/Asn1Primitives.h"
#include "asn1/CryptAsn1Parser.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"

namespace asn1test {

// FromHex reads hex digits, skipping blanks ("30 03 02 01 05").
inline std::vector<uint8_t> FromHex(const std::string& hex) {
    std::vector<uint8_t> bytes;
    int high = -1;
    for (const char c : hex) {
        int digit = -1;
        if (c >= '0' && c <= '9') {
            digit = c - '0';
        } else if (c >= 'a' && c <= 'f') {
            digit = c - 'a' + 10;
        } else if (c >= 'A' && c <= 'F') {
            digit = c - 'A' + 10;
        }
        if (digit < 0) {
            continue;
        }
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<uint8_t>(high * 16 + digit));
            high = -1;
        }
    }
    return bytes;
}

// CInput keeps bytes in a heap block of exactly their size, so that AddressSanitizer sees a read
// one past the end.
class CInput {
public:
    explicit CInput(const std::vector<uint8_t>& bytes)
        : _size(bytes.size()), _data(new uint8_t[bytes.size()]) {
        std::copy(bytes.begin(), bytes.end(), _data.get());
    }
    uint8_t* data() { return _data.get(); }
    size_t size() const { return _size; }
    std::vector<uint8_t> bytes() const { return {_data.get(), _data.get() + _size}; }

private:
    size_t _size;
    std::unique_ptr<uint8_t[]> _data;
};

// ParseCode parses bytes and returns the code thrown (0: parsed).
inline uint32_t ParseCode(CInput& input, bool stopQuietly = false, bool strict = false,
                          bool firstOnly = false) {
    CCryptAsn1Parser parser;
    try {
        parser.Parse(input.data(), input.size(), stopQuietly, strict, firstOnly);
    } catch (const ca::Exception& e) {
        return e.code;
    }
    return 0;
}

// DecodeCode decodes the first top-level block of hex with the class CreatePrimitiveObject picks.
inline uint32_t DecodeCode(const std::string& hex) {
    CInput input(FromHex(hex));
    CCryptAsn1Parser parser;
    parser.Parse(input.data(), input.size());
    const auto object = CreatePrimitiveObject(parser.GetInnerBlock(0), nullptr);
    try {
        object->Decode();
    } catch (const ca::Exception& e) {
        return e.code;
    }
    return 0;
}

inline std::vector<uint8_t> ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline std::string CertPath(const std::string& name) { return std::string(SES_TEST_DATA) + "/certs/" + name; }

}  // namespace asn1test
