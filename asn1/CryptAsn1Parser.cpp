#include "asn1/CryptAsn1Parser.h"

#include <algorithm>
#include <cstdio>
#include <cwctype>
#include <stdexcept>

#include "base/ByteReader.h"
#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "base/Lng.h"
#include "base/Log.h"

namespace {

// Fail raises code from the parse site at line: through ca::RaiseAt (": CryptAsn1Base:190" logged
// first) with logErrors, unlogged without, as a quiet parse wants.
[[noreturn]] void Fail(uint32_t code, long line, bool logErrors) {
    if (logErrors) {
        ca::RaiseAt({"CryptAsn1Base", line}, code);
    }
    throw ca::Exception(code);
}

// PathIndex converts one path component the way std::stoi does (leading blanks, a sign, digits,
// anything after ignored); a component without digits throws std::invalid_argument. A negative or
// oversized index comes back as SIZE_MAX, which no block has.
size_t PathIndex(const std::wstring& component) {
    size_t i = 0;
    while (i < component.size() && std::iswspace(static_cast<wint_t>(component[i]))) {
        ++i;
    }
    bool negative = false;
    if (i < component.size() && (component[i] == L'+' || component[i] == L'-')) {
        negative = component[i] == L'-';
        ++i;
    }
    if (i >= component.size() || component[i] < L'0' || component[i] > L'9') {
        throw std::invalid_argument("GetBlockByPath: a path component is not a number");
    }
    size_t index = 0;
    for (; i < component.size() && component[i] >= L'0' && component[i] <= L'9'; ++i) {
        const auto digit = static_cast<size_t>(component[i] - L'0');
        if (index > (SIZE_MAX - digit) / 10) {
            return SIZE_MAX;
        }
        index = index * 10 + digit;
    }
    return negative && index != 0 ? SIZE_MAX : index;
}

}  // namespace

uint32_t DecodeLengthOctets(const uint8_t* octets, size_t n) {
    uint32_t value = 0;
    for (size_t i = 0; i < n; ++i) {
        const auto shift = static_cast<uint32_t>((8 * (n - 1 - i)) % 32);
        value += static_cast<uint32_t>(octets[i]) << shift;
    }
    return value;
}

CAsn1Block::CAsn1Block(CCryptAsn1Parser* /*parser*/) {}

void CAsn1Block::Parse(uint8_t* inData, size_t* inOffset, size_t* absoluteOffset, size_t available,
                       bool logErrors, bool strictNesting) {
    _Parse(inData, *inOffset, *absoluteOffset, available, logErrors, strictNesting, 1);
}

void CAsn1Block::_Parse(uint8_t* inData, size_t& inOffset, size_t& absoluteOffset, size_t available,
                        bool logErrors, bool strictNesting, size_t level) {
    isCorrupted = true;  // cleared only when the block completes
    offset = static_cast<uint32_t>(absoluteOffset);
    if (level > kMaxAsn1Nesting) {
        Fail(ca::kAsn1CorruptData, 186, logErrors);
    }
    if (inOffset > available || available - inOffset <= 1) {
        Fail(ca::kAsn1EndOfData, 190, logErrors);
    }
    const size_t remain = available - inOffset;
    start = inData + inOffset;
    limit = inData + available;
    ca::CByteReader reader(start, remain);
    uint8_t lengthOctet = 0;
    if (!reader.ReadU8(tag) || !reader.ReadU8(lengthOctet)) {
        Fail(ca::kAsn1EndOfData, 190, logErrors);
    }
    isIndefinite = false;
    size_t header = 2;
    uint32_t declared = 0;
    if (lengthOctet <= 127) {
        declared = lengthOctet;
    } else if (lengthOctet == 0x80) {
        isIndefinite = true;
    } else {
        const size_t count = lengthOctet & 0x7Fu;
        header = count + 2;
        const uint8_t* octets = nullptr;
        if (!reader.ReadBytes(count, octets)) {
            Fail(ca::kAsn1EndOfData, 194, logErrors);
        }
        declared = DecodeLengthOctets(octets, count);
    }
    data = start + header;
    const size_t room = remain - header;  // content bytes that may be read
    // A block abandoned half-way keeps a length that stays inside the data.
    length = static_cast<uint32_t>(std::min<size_t>(declared, room));

    bool overrun = false;
    if (!IsConstructed() && !isIndefinite) {
        if (declared > room) {
            Fail(ca::kAsn1EndOfData, 269, logErrors);
        }
    } else if (!IsConstructed()) {
        // Deliberate: the end-of-contents scan starts at the second content byte, so the block keeps
        // at least one content byte.
        ca::CByteReader content(data, room);
        static constexpr uint8_t kEndOfContents[2] = {0, 0};
        const size_t found = content.Skip(1) ? content.Find(kEndOfContents, 2) : ca::CByteReader::npos;
        if (found == ca::CByteReader::npos) {
            Fail(ca::kAsn1EndOfData, 207, logErrors);
        }
        declared = static_cast<uint32_t>(found + 1);
        // The end-of-contents pair belongs to this block, as it does for a constructed one.
        inOffset += 2;
        absoluteOffset += 2;
    } else if (!isIndefinite && declared == 0) {
        absoluteOffset += header;
    } else {
        absoluteOffset += header;
        size_t child = 0;  // offset of the next child inside the content
        uint64_t sum = 0;  // content lengths of the children, compared with the declared length
        for (;;) {
            if (child + header + 2 > remain) {
                Fail(ca::kAsn1EndOfData, 241, logErrors);
            }
            CAsn1Block* inner = AddInnerBlock();
            inner->_Parse(data, child, absoluteOffset, room, logErrors, strictNesting, level + 1);
            sum += inner->length;
            if (!isIndefinite) {
                if (uint64_t{declared} + header >= sum) {
                    if (child < declared) {
                        continue;
                    }
                    break;
                }
                ca::LogEventFmt(L"Поврежденные asn.1 данные в смещении %i", false, static_cast<int>(offset));
                if (strictNesting) {
                    Fail(ca::kAsn1CorruptData, 252, logErrors);
                }
                overrun = true;
                break;
            }
            ca::CByteReader next(data, room);
            uint8_t first = 0;
            if (header + child + 1 > remain || !next.Skip(child) || !next.ReadU8(first)) {
                Fail(ca::kAsn1EndOfData, 260, logErrors);
            }
            if (first != 0) {
                continue;
            }
            uint8_t second = 0;
            if (!next.ReadU8(second)) {
                Fail(ca::kAsn1EndOfData, 260, logErrors);
            }
            if (second == 0) {
                declared = static_cast<uint32_t>(child);
                inOffset += 2;
                absoluteOffset += 2;
                break;
            }
            // A zero byte followed by another is a child with tag 0.
        }
    }
    length = declared;
    totalLength = static_cast<uint32_t>(length + header);
    inOffset += totalLength;
    if (!IsConstructed()) {
        absoluteOffset += totalLength;
    }
    isCorrupted = overrun;
}

uint32_t CAsn1Block::GetTotalLength(bool recalculate) {
    if (recalculate && !innerBlocks.empty()) {
        uint32_t sum = 0;
        for (const auto& inner : innerBlocks) {
            if (!inner->isDetached) {
                sum += inner->GetTotalLength(true);
            }
        }
        length = sum;
    }
    totalLength = isIndefinite ? length + 4 : length + 2 + GetBytesCount(length);
    return totalLength;
}

void CAsn1Block::GetAsn1Data(uint8_t* out, size_t* position) const { GetAsn1Data(out, SIZE_MAX, position); }

void CAsn1Block::GetAsn1Data(uint8_t* out, size_t capacity, size_t* position) const {
    size_t& at = *position;
    const auto put = [&](uint8_t byte) {
        if (at >= capacity) {
            throw ca::Exception(ca::kAsn1CorruptData);
        }
        out[at++] = byte;
    };
    put(tag);
    if (isIndefinite) {
        put(0x80);
    } else if (length < 128) {
        put(static_cast<uint8_t>(length));
    } else {
        const uint32_t count = GetBytesCount(length);
        put(static_cast<uint8_t>(0x80 | count));
        for (uint32_t i = count; i-- > 0;) {
            put(static_cast<uint8_t>(length >> (8 * i)));
        }
    }
    if (!innerBlocks.empty()) {
        for (const auto& inner : innerBlocks) {
            if (!inner->isDetached) {
                inner->GetAsn1Data(out, capacity, position);
            }
        }
    } else if (length != 0) {
        if (length > capacity - at) {
            throw ca::Exception(ca::kAsn1CorruptData);
        }
        const size_t readable = ReadableLength();
        if (readable != 0) {
            std::copy_n(data, readable, out + at);
        }
        // A length changed by hand past the bytes behind data is written as zeros, never read.
        std::fill_n(out + at + readable, length - readable, uint8_t{0});
        at += length;
    }
    if (isIndefinite) {
        put(0);
        put(0);
    }
}

size_t CAsn1Block::ReadableLength() const {
    if (data == nullptr) {
        return 0;
    }
    if (limit == nullptr) {
        return length;
    }
    if (data > limit) {
        return 0;
    }
    return std::min<size_t>(length, static_cast<size_t>(limit - data));
}

void CAsn1Block::SetContent(uint8_t* bytes, uint32_t size) {
    data = bytes;
    length = size;
    limit = bytes == nullptr ? nullptr : bytes + size;
}

CAsn1Block* CAsn1Block::AddInnerBlock() {
    innerBlocks.push_back(std::make_unique<CAsn1Block>());
    innerBlocks.back()->parent = this;
    return innerBlocks.back().get();
}

std::unique_ptr<CAsn1Block> CAsn1Block::ImportInnerBlock(const CAsn1Block& source) {
    auto copy = std::make_unique<CAsn1Block>();
    copy->tag = source.tag;
    copy->length = source.length;
    copy->data = source.data;
    copy->start = source.start;
    copy->limit = source.limit;
    copy->isDetached = source.isDetached;
    copy->totalLength = source.totalLength;
    copy->parent = this;
    for (const auto& inner : source.innerBlocks) {
        copy->innerBlocks.push_back(copy->ImportInnerBlock(*inner));
    }
    return copy;
}

CAsn1Block* CAsn1Block::GetInnerBlock(size_t index) const {
    return index < innerBlocks.size() ? innerBlocks[index].get() : nullptr;
}

CAsn1Block* CAsn1Block::GetBlockByTag(uint8_t inTag, size_t startIndex) const {
    for (size_t i = startIndex; i < innerBlocks.size(); ++i) {
        if (innerBlocks[i]->tag == inTag) {
            return innerBlocks[i].get();
        }
    }
    return nullptr;
}

CAsn1Block* CAsn1Block::GetBlockBySpecificIdx(uint32_t index, size_t startIndex) const {
    for (size_t i = startIndex; i < innerBlocks.size(); ++i) {
        const CAsn1Block& inner = *innerBlocks[i];
        if ((inner.IsContextSpecific() && inner.GetContextSpecificIndex() == index) ||
            (inner.IsApplicationSpecific() && inner.GetApplicationSpecificIndex() == index)) {
            return innerBlocks[i].get();
        }
    }
    return nullptr;
}

bool CAsn1Block::IsCanonical() const {
    if (isIndefinite || isCorrupted || totalLength != length + 2 + GetBytesCount(length)) {
        return false;
    }
    if (!IsConstructed()) {
        return true;
    }
    uint64_t sum = 0;
    for (const auto& inner : innerBlocks) {
        if (!inner->IsCanonical()) {
            return false;
        }
        sum += inner->totalLength;
    }
    return sum == length;
}

CAsn1Block* CAsn1Block::GetBlockByPath(const std::wstring& path) const {
    CAsn1Block* current = nullptr;
    size_t from = 0;
    while (from <= path.size()) {
        size_t to = path.find(L'/', from);
        if (to == std::wstring::npos) {
            to = path.size();
        }
        if (to > from) {
            const size_t index = PathIndex(path.substr(from, to - from));
            current = current == nullptr ? GetInnerBlock(index) : current->GetInnerBlock(index);
            if (current == nullptr) {
                return nullptr;
            }
        }
        from = to + 1;
    }
    return current;
}

void CCryptAsn1Parser::Parse(uint8_t* inData, size_t size, bool stopQuietlyOnTruncation, bool strictNesting,
                             bool firstBlockOnly) {
    lastError = 0;
    DeleteInnerBlocks();
    totalLength = 0;
    size_t relative = 0;
    size_t absolute = 0;
    const auto sumOfParsedTotals = [this] {
        uint32_t sum = 0;
        for (const auto& inner : innerBlocks) {
            sum += inner->totalLength;
        }
        return sum;
    };
    try {
        for (;;) {
            innerBlocks.push_back(std::make_unique<CAsn1Block>());  // top-level blocks have no parent
            innerBlocks.back()->Parse(inData, &relative, &absolute, size, !stopQuietlyOnTruncation,
                                      strictNesting);
            if (relative >= size) {
                break;
            }
            if (firstBlockOnly) {
                LogEvent(SetVALKOMessage(msg::kAsn1TrailingData), false);
                break;
            }
        }
    } catch (const ca::Exception& e) {
        // A quiet truncation is an answer: the blocks read so far are the result.
        lastError = e.code;
        totalLength = sumOfParsedTotals();
        if (e.code == ca::kAsn1EndOfData && stopQuietlyOnTruncation) {
            return;
        }
        throw;
    }
    // The parsed totals are kept as read; GetTotalLength() recalculates them for Build.
    totalLength = sumOfParsedTotals();
}

uint32_t CCryptAsn1Parser::GetTotalLength() {
    uint32_t sum = 0;
    for (const auto& inner : innerBlocks) {
        sum += inner->GetTotalLength(true);
    }
    totalLength = sum;
    return sum;
}

void CCryptAsn1Parser::_LogLastError() const {
    if (lastError != 0) {
        ca::LogError(ca::GetLineString("CryptAsn1Base", 92).c_str(), L"", lastError, false);
    }
}

size_t CCryptAsn1Parser::Build(uint8_t* out) {
    _LogLastError();
    size_t position = 0;
    for (const auto& inner : innerBlocks) {
        inner->GetAsn1Data(out, &position);
    }
    return position;
}

std::vector<uint8_t> CCryptAsn1Parser::Build() {
    std::vector<uint8_t> out(GetTotalLength());
    _LogLastError();
    size_t position = 0;
    for (const auto& inner : innerBlocks) {
        inner->GetAsn1Data(out.data(), out.size(), &position);
    }
    out.resize(position);
    return out;
}
