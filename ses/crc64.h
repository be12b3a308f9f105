#pragma once

#include <array>
#include <cstdint>

// MakeCrc64Table builds the byte-wise table of CRC-64/ECMA-182 (polynomial 0x42F0E1EBA9EA3693,
// most-significant bit first) at compile time.
constexpr std::array<uint64_t, 256> MakeCrc64Table() {
    std::array<uint64_t, 256> table{};
    for (uint64_t i = 0; i < 256; ++i) {
        uint64_t crc = i << 56;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000000000000000ULL) != 0 ? (crc << 1) ^ 0x42F0E1EBA9EA3693ULL : crc << 1;
        }
        table[i] = crc;
    }
    return table;
}

inline constexpr auto crc64_tab = MakeCrc64Table();
static_assert(crc64_tab[1] == 0x42F0E1EBA9EA3693ULL && crc64_tab[255] == 0x9AFCE626CE85B507ULL);

// crc64 continues the register crc over length bytes (initial value 0, no reflection, no final XOR).
// It runs Intel ISA-L's folded kernel (PCLMULQDQ / VPCLMULQDQ, chosen by the CPU at run time) when
// the build found ISA-L, and crc64_table otherwise.
uint64_t crc64(const unsigned char* data, unsigned long length, uint64_t crc);

// crc64_table is the byte-wise table loop: the portable fallback and the reference the tests
// compare the fast kernel against.
uint64_t crc64_table(const unsigned char* data, unsigned long length, uint64_t crc);
