#pragma once

// The BER/DER block parser: a tree of tag-length-value blocks over a caller's buffer, written back
// with Build, dumped as JSON and searched by numeric path. Types are read by asn1/CryptAsn1Base.h.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Json.h"

class CCryptAsn1Parser;

// kMaxAsn1Nesting bounds how deep blocks may nest (a top-level block is level 1), so a hostile file
// cannot exhaust the stack; a deeper block fails with 0x80093103.
constexpr size_t kMaxAsn1Nesting = 64;

// GetBytesCount returns 0 for n < 128, else the number of bytes that hold n (1 to 4): the count of
// long-form length octets that follow 0x80 | count.
constexpr uint32_t GetBytesCount(uint32_t n) {
    if (n < 128) {
        return 0;
    }
    uint32_t count = 0;
    for (; n != 0; n >>= 8) {
        ++count;
    }
    return count;
}
static_assert(GetBytesCount(127) == 0 && GetBytesCount(128) == 1 && GetBytesCount(255) == 1 &&
              GetBytesCount(256) == 2 && GetBytesCount(65535) == 2 && GetBytesCount(65536) == 3 &&
              GetBytesCount(0xFFFFFFFFu) == 4);

// DecodeLengthOctets reads n big-endian length octets into 32 bits.
// Deliberate: each octet is added shifted by 8 x (its distance from the last octet) modulo 32, so
// with more than four octets the high ones wrap into the low ones instead of being refused.
uint32_t DecodeLengthOctets(const uint8_t* octets, size_t n);

// CAsn1Block is one tag-length-value node. It borrows the parsed bytes (data, start point into the
// caller's buffer, which must outlive the tree) and owns its children.
class CAsn1Block {
public:
    CAsn1Block() = default;
    explicit CAsn1Block(CCryptAsn1Parser* parser);  // the parser is not kept
    virtual ~CAsn1Block() = default;
    CAsn1Block(const CAsn1Block&) = delete;
    CAsn1Block& operator=(const CAsn1Block&) = delete;

    // Parse reads one block at inData[*inOffset] with available bytes readable from inData, and
    // advances *inOffset (relative to inData) and *absoluteOffset (relative to the whole buffer) past
    // it. Throws ca::Exception 0x80093102 when the data ends before the block does and 0x80093103
    // for an overrun in strict mode or nesting past kMaxAsn1Nesting; logErrors logs first.
    void Parse(uint8_t* inData, size_t* inOffset, size_t* absoluteOffset, size_t available, bool logErrors,
               bool strictNesting);

    // GetTotalLength stores and returns header + content (+ 2 end-of-contents bytes for an indefinite
    // block); recalculate first sums the children that are not detached into length.
    uint32_t GetTotalLength(bool recalculate);

    // GetAsn1Data writes the block's encoding at out[*position] (minimal definite lengths, 0x80 for
    // indefinite blocks) and advances *position; out holds at least GetTotalLength(true) bytes. The
    // bounded form throws 0x80093103 instead of writing past capacity (lengths not recalculated).
    void GetAsn1Data(uint8_t* out, size_t* position) const;
    void GetAsn1Data(uint8_t* out, size_t capacity, size_t* position) const;

    // AddInnerBlock appends a new empty child and returns it.
    CAsn1Block* AddInnerBlock();
    // ImportInnerBlock returns a deep copy of source whose parent is this block (not yet appended).
    std::unique_ptr<CAsn1Block> ImportInnerBlock(const CAsn1Block& source);
    void DeleteInnerBlocks() { innerBlocks.clear(); }

    // GetInnerBlock returns the child at index, or nullptr past the end.
    CAsn1Block* GetInnerBlock(size_t index) const;
    size_t GetInnerBlockCount() const { return innerBlocks.size(); }
    // GetBlockByTag returns the first child at or after startIndex whose identifier octet is tag.
    CAsn1Block* GetBlockByTag(uint8_t inTag, size_t startIndex = 0) const;
    // GetBlockBySpecificIdx returns the first child at or after startIndex tagged [index] in the
    // context or the application class: how an optional [n] member is found.
    CAsn1Block* GetBlockBySpecificIdx(uint32_t index, size_t startIndex = 0) const;

    bool IsConstructed() const { return (tag & 0x20) != 0; }
    // IsCanonical: every block of the subtree has a minimal definite length, is not corrupted and
    // its children fill it exactly, so that GetAsn1Data writes back the parsed bytes.
    bool IsCanonical() const;
    bool IsContextSpecific() const { return (tag & 0x80) != 0; }  // the private class counts too
    bool IsApplicationSpecific() const { return (tag & 0x40) != 0; }
    // Deliberate: each mask drops the constructed bit and the class bit it tests but keeps the other
    // class bit, so a private-class tag gives 0x40 + number as its context index.
    uint32_t GetContextSpecificIndex() const { return tag & 0x5F; }
    uint32_t GetApplicationSpecificIndex() const { return tag & 0x9F; }

    // GetBlockByPath returns the block at "i/j/k" (zero-based child indexes; empty components are
    // skipped), or nullptr when an index is out of range or the path has no component. A component
    // that does not start with a number throws std::invalid_argument, as the standard conversion does.
    CAsn1Block* GetBlockByPath(const std::wstring& path) const;

    // ToJson writes {"structure": {...}} for this block and its subtree (the dump, Asn1Dump.cpp).
    void ToJson(ca::JsonWriter& writer);
    void ToJson(rapidjson::StringBuffer& buffer);

    // ReadableLength is the part of length that may be read at data: a parsed block never reads past
    // the bytes its parse was given, even after its length was changed.
    size_t ReadableLength() const;
    // SetContent points the block at new content bytes (an encoder's buffer).
    void SetContent(uint8_t* bytes, uint32_t size);

    uint8_t tag = 0;
    uint32_t length = 0;
    uint8_t* data = nullptr;
    std::vector<std::unique_ptr<CAsn1Block>> innerBlocks;
    uint8_t* start = nullptr;
    uint32_t totalLength = 0;
    bool isIndefinite = false;
    CAsn1Block* parent = nullptr;
    bool isDetached = false;
    uint32_t offset = 0;
    bool isCorrupted = false;
    uint8_t* limit = nullptr;  // end of the bytes this block may read; null for built blocks

private:
    void _Parse(uint8_t* inData, size_t& inOffset, size_t& absoluteOffset, size_t available, bool logErrors,
                bool strictNesting, size_t level);
};

// CCryptAsn1Parser is the root of a block tree: its children are the top-level blocks of one buffer.
class CCryptAsn1Parser : public CAsn1Block {
public:
    CCryptAsn1Parser() = default;

    // Parse replaces the tree with the blocks of data[0, size). stopQuietlyOnTruncation: data that
    // ends early is not an error (lastError keeps 0x80093102, blocks so far stay, nothing is logged).
    // firstBlockOnly: bytes after the first block are left (message 937 is logged). strictNesting:
    // children overrunning their parent fail with 0x80093103 instead of marking it corrupted.
    void Parse(uint8_t* inData, size_t size, bool stopQuietlyOnTruncation = false, bool strictNesting = false,
               bool firstBlockOnly = false);

    using CAsn1Block::GetTotalLength;
    // GetTotalLength recalculates every top-level block and returns their sum: the size Build writes.
    uint32_t GetTotalLength();

    // Build writes every top-level block into out (GetTotalLength() bytes) and returns the count;
    // a non-zero lastError is logged first. The vector form sizes the buffer itself.
    size_t Build(uint8_t* out);
    std::vector<uint8_t> Build();

    // GetAsn1Structure returns the JSON dump of the first top-level block ("" when there is none).
    std::string GetAsn1Structure();

    uint32_t lastError = 0;

private:
    void _LogLastError() const;
};
