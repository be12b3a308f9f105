#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ca {

// CByteReader walks untrusted bytes; it borrows them and never reads past the end it was given.
class CByteReader {
public:
    CByteReader(const uint8_t* inData, size_t inSize) : _data(inData), _left(inSize) {}

    [[nodiscard]] bool ReadBytes(size_t n, const uint8_t*& out) {
        if (n > _left) {  // the one bounds check every read goes through
            return false;
        }
        out = _data;
        _data += n;
        _left -= n;
        return true;
    }
    [[nodiscard]] bool ReadU8(uint8_t& out) {
        const uint8_t* p = nullptr;
        if (!ReadBytes(1, p)) {
            return false;
        }
        out = *p;
        return true;
    }
    [[nodiscard]] bool Skip(size_t n) {
        const uint8_t* p = nullptr;
        return ReadBytes(n, p);
    }
    // Find returns the offset of needle in the unread bytes, or npos; nothing is consumed.
    size_t Find(const void* needle, size_t needleSize) const {
        if (needleSize == 0 || needleSize > _left) {
            return npos;
        }
        const void* hit = memmem(_data, _left, needle, needleSize);
        return hit == nullptr ? npos : static_cast<size_t>(static_cast<const uint8_t*>(hit) - _data);
    }
    [[nodiscard]] bool StartsWith(const void* prefix, size_t n) const {
        return n <= _left && std::memcmp(_data, prefix, n) == 0;
    }
    const uint8_t* Data() const { return _data; }
    size_t Left() const { return _left; }

    static constexpr size_t npos = static_cast<size_t>(-1);

private:
    const uint8_t* _data;
    size_t _left;
};

}  // namespace ca
