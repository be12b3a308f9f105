#pragma once

#include <cstdint>
#include <istream>
#include <string>

// SHA1 computes the SHA-1 digest (FIPS 180-1) of wide text and returns it as 40 lower-case hex
// digits. Each wide character contributes only its low byte: callers wanting the digest of UTF-8
// text widen its bytes one by one first.
//
// The state is static, one digest per process, and unguarded: it is not thread-safe, and callers
// serialise their use (the configuration writer is its only user).
class SHA1 {
public:
    SHA1() = delete;

    // Reset starts a new message: initial digest words, empty buffer, no block counted.
    static void Reset();
    // Update consumes the stream to its end, transforming every full 64-character block; a partial
    // tail stays buffered for the next Update or Final.
    static void Update(std::wistream& is);
    static void Update(const std::wstring& s);
    // Final pads the message, returns its digest and resets for the next message.
    static std::wstring Final();
    // GetHash is Reset, Update and Final in one call.
    static std::wstring GetHash(const std::wstring& s);

private:
    static constexpr size_t kBlockChars = 64;
    static constexpr size_t kBlockWords = 16;

    static uint32_t rol(uint32_t value, unsigned bits);
    static uint32_t blk(uint32_t block[kBlockWords], size_t i);
    static void R0(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
                   size_t i);
    static void R1(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
                   size_t i);
    static void R2(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
                   size_t i);
    static void R3(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
                   size_t i);
    static void R4(uint32_t block[kBlockWords], uint32_t v, uint32_t& w, uint32_t x, uint32_t y, uint32_t& z,
                   size_t i);
    static void Transform(uint32_t block[kBlockWords]);
    static void buffer_to_block(const std::wstring& buffer, uint32_t block[kBlockWords]);

    static uint32_t m_digest[5];
    static std::wstring m_buffer;
    static uint64_t m_transforms;
};
