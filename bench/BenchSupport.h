#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Payload returns size reproducible pseudo-random bytes (xorshift), so runs compare.
inline std::vector<uint8_t> Payload(size_t size) {
    std::vector<uint8_t> bytes(size);
    uint64_t x = 88172645463325252ULL;
    for (auto& b : bytes) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        b = static_cast<uint8_t>(x);
    }
    return bytes;
}
