#include "asn1/sha1.h"

#include <sstream>

namespace {

constexpr uint32_t kInitialDigest[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};

}  // namespace

uint32_t SHA1::m_digest[5] = {kInitialDigest[0], kInitialDigest[1], kInitialDigest[2], kInitialDigest[3],
                              kInitialDigest[4]};
std::wstring SHA1::m_buffer;
uint64_t SHA1::m_transforms = 0;

uint32_t SHA1::rol(uint32_t value, unsigned bits) { return (value << bits) | (value >> (32 - bits)); }

// blk extends the message schedule in place: word i of the 80 is kept in slot i mod 16.
uint32_t SHA1::blk(uint32_t block[kBlockWords], size_t i) {
    block[i & 15] = rol(block[(i + 13) & 15] ^ block[(i + 8) & 15] ^ block[(i + 2) & 15] ^ block[i & 15], 1);
    return block[i & 15];
}

void SHA1::R0(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
              size_t i) {
    z += ((w & (x ^ y)) ^ y) + block[i] + 0x5a827999 + rol(v, 5);
    w = rol(w, 30);
}

void SHA1::R1(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
              size_t i) {
    z += ((w & (x ^ y)) ^ y) + blk(block, i) + 0x5a827999 + rol(v, 5);
    w = rol(w, 30);
}

void SHA1::R2(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
              size_t i) {
    z += (w ^ x ^ y) + blk(block, i) + 0x6ed9eba1 + rol(v, 5);
    w = rol(w, 30);
}

void SHA1::R3(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
              size_t i) {
    z += (((w | x) & y) | (w & x)) + blk(block, i) + 0x8f1bbcdc + rol(v, 5);
    w = rol(w, 30);
}

void SHA1::R4(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
              size_t i) {
    z += (w ^ x ^ y) + blk(block, i) + 0xca62c1d6 + rol(v, 5);
    w = rol(w, 30);
}

void SHA1::Transform(uint32_t block[kBlockWords]) {
    uint32_t s[5] = {m_digest[0], m_digest[1], m_digest[2], m_digest[3], m_digest[4]};
    for (size_t i = 0; i < 80; ++i) {
        // The five working variables rotate one place per step: step i starts at s[(5 - i % 5) % 5].
        const size_t r = 5 - i % 5;
        uint32_t& v = s[r % 5];
        uint32_t& w = s[(r + 1) % 5];
        uint32_t& x = s[(r + 2) % 5];
        uint32_t& y = s[(r + 3) % 5];
        uint32_t& z = s[(r + 4) % 5];
        if (i < 16) {
            R0(block, v, w, x, y, z, i);
        } else if (i < 20) {
            R1(block, v, w, x, y, z, i);
        } else if (i < 40) {
            R2(block, v, w, x, y, z, i);
        } else if (i < 60) {
            R3(block, v, w, x, y, z, i);
        } else {
            R4(block, v, w, x, y, z, i);
        }
    }
    for (size_t i = 0; i < 5; ++i) {
        m_digest[i] += s[i];
    }
    ++m_transforms;
}

// buffer_to_block packs characters 4i .. 4i+3 big-endian into word i, keeping each one's low byte.
void SHA1::buffer_to_block(const std::wstring& buffer, uint32_t block[kBlockWords]) {
    for (size_t i = 0; i < kBlockWords; ++i) {
        block[i] = (static_cast<uint32_t>(buffer[4 * i + 3]) & 0xff) |
                   ((static_cast<uint32_t>(buffer[4 * i + 2]) & 0xff) << 8) |
                   ((static_cast<uint32_t>(buffer[4 * i + 1]) & 0xff) << 16) |
                   ((static_cast<uint32_t>(buffer[4 * i]) & 0xff) << 24);
    }
}

void SHA1::Reset() {
    for (size_t i = 0; i < 5; ++i) {
        m_digest[i] = kInitialDigest[i];
    }
    m_buffer.clear();
    m_transforms = 0;
}

void SHA1::Update(std::wistream& is) {
    wchar_t piece[kBlockChars];
    for (;;) {
        is.read(piece, static_cast<std::streamsize>(kBlockChars - m_buffer.size()));
        m_buffer.append(piece, static_cast<size_t>(is.gcount()));
        if (m_buffer.size() != kBlockChars) {
            return;  // the stream ended inside this block
        }
        uint32_t block[kBlockWords];
        buffer_to_block(m_buffer, block);
        Transform(block);
        m_buffer.clear();
    }
}

void SHA1::Update(const std::wstring& s) {
    std::wistringstream is(s);
    Update(is);
}

std::wstring SHA1::Final() {
    const uint64_t totalBits = (m_transforms * kBlockChars + m_buffer.size()) * 8;
    m_buffer += static_cast<wchar_t>(0x80);
    const size_t used = m_buffer.size();
    m_buffer.resize(kBlockChars, L'\0');

    uint32_t block[kBlockWords];
    buffer_to_block(m_buffer, block);
    if (used > kBlockChars - 8) {
        // No room left for the length: it goes into one more block of zeros.
        Transform(block);
        for (size_t i = 0; i < kBlockWords - 2; ++i) {
            block[i] = 0;
        }
    }
    block[kBlockWords - 1] = static_cast<uint32_t>(totalBits);
    block[kBlockWords - 2] = static_cast<uint32_t>(totalBits >> 32);
    Transform(block);

    static constexpr wchar_t kHex[] = L"0123456789abcdef";
    std::wstring result;
    result.reserve(40);
    for (const uint32_t word : m_digest) {
        for (int shift = 28; shift >= 0; shift -= 4) {
            result += kHex[(word >> shift) & 0xf];
        }
    }
    Reset();
    return result;
}

std::wstring SHA1::GetHash(const std::wstring& s) {
    Reset();
    Update(s);
    return Final();
}
