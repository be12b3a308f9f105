#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Crc64Hash accumulates a CRC-64 over successive chunks; its value is the register's unsigned
// decimal text, which callers treat as the hash bytes.
class Crc64Hash {
public:
    void Compute(const unsigned char* data, unsigned int length);
    const char* GetValue() const { return text.c_str(); }
    size_t GetValueLength() const { return text.size(); }
    uint64_t State() const { return state; }

private:
    uint64_t state = 0;
    std::string text;
};
