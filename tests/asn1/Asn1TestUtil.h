#pragma once

// Helpers of the asn1 suite: hex input, parse outcomes, captured log lines and the sample files.
#include <algorithm>
#include <cctype>
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
#include "tests/support/TestSupport.h"

namespace asn1test {

// FromHex reads hex digits, skipping anything else ("30 03 02 01 05").
inline std::vector<uint8_t> FromHex(const std::string& hex) {
    std::vector<uint8_t> bytes;
    std::string digits;
    std::copy_if(hex.begin(), hex.end(), std::back_inserter(digits), [](char c) { return std::isxdigit(c); });
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
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
inline uint32_t ParseCode(CInput input, bool stopQuietly = false, bool strict = false) {
    CCryptAsn1Parser parser;
    return CodeOf([&] { parser.Parse(input.data(), input.size(), stopQuietly, strict); });
}

// SParsed keeps bytes and their tree together: blocks and decoded values point into the bytes.
struct SParsed {
    explicit SParsed(const std::vector<uint8_t>& bytes) : input(bytes) {
        parser.Parse(input.data(), input.size());
    }
    explicit SParsed(const std::string& hex) : SParsed(FromHex(hex)) {}
    CAsn1Block* First() { return parser.GetInnerBlock(0); }
    CInput input;
    CCryptAsn1Parser parser;
};

// FirstLogLine is the text of the first line a CLogScope caught since the last call ("" for none).
inline std::wstring FirstLogLine() {
    const auto lines = CLogScope::Take();
    return lines.empty() ? std::wstring() : lines[0].text;
}

// ReadFile returns the bytes of a file (none when it cannot be read).
inline std::vector<uint8_t> ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Cert reads a file from tests/data/certs.
inline std::vector<uint8_t> Cert(const std::string& name) {
    return ReadFile(std::string(SES_TEST_DATA) + "/certs/" + name);
}

}  // namespace asn1test
