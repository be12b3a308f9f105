#include "asn1/Asn1Primitives.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"

namespace {

// HeldBytes is a buffer's size, or 0 when a copy took the size alone.
size_t HeldBytes(const ca::Blob& blob) { return blob.data != nullptr ? blob.size : 0; }

// ClearPadding clears the u unused low bits of a bit string's last byte.
// Deliberate: a count above 7 (invalid) clears the whole byte instead of shifting past its width.
uint8_t ClearPadding(uint8_t last, unsigned int unused) {
    return unused >= 8 ? 0 : static_cast<uint8_t>((last >> unused) << unused);
}

// ParseNumber converts a time group as std::stoi does (blanks, a sign, then at least one digit; the
// rest is ignored), but a group that is no number is the end-of-data failure, not a foreign exception.
int ParseNumber(const std::string& group) {
    size_t i = 0;
    while (i < group.size() && std::isspace(static_cast<unsigned char>(group[i]))) {
        ++i;
    }
    bool negative = false;
    if (i < group.size() && (group[i] == '+' || group[i] == '-')) {
        negative = group[i] == '-';
        ++i;
    }
    if (i >= group.size() || !std::isdigit(static_cast<unsigned char>(group[i]))) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    int number = 0;
    for (; i < group.size() && std::isdigit(static_cast<unsigned char>(group[i])); ++i) {
        number = number * 10 + (group[i] - '0');  // groups are at most four characters
    }
    return negative ? -number : number;
}

// ParseArc converts one dotted-OID arc as a signed decimal (no digits give 0), kept in 32 bits.
uint32_t ParseArc(const std::wstring& arc) {
    size_t i = 0;
    bool negative = false;
    if (i < arc.size() && (arc[i] == L'+' || arc[i] == L'-')) {
        negative = arc[i] == L'-';
        ++i;
    }
    uint32_t number = 0;
    for (; i < arc.size() && arc[i] >= L'0' && arc[i] <= L'9'; ++i) {
        number = number * 10 + static_cast<uint32_t>(arc[i] - L'0');
    }
    return negative ? 0u - number : number;
}

void AppendBase128(std::vector<uint8_t>& out, uint32_t number) {
    uint8_t groups[5];
    size_t count = 0;
    do {
        groups[count++] = static_cast<uint8_t>(number & 0x7F);
        number >>= 7;
    } while (number != 0);
    while (count-- > 0) {
        out.push_back(static_cast<uint8_t>(groups[count] | (count != 0 ? 0x80 : 0)));
    }
}

ca::MallocPtr CopyOf(const std::vector<uint8_t>& bytes) { return ca::CopyBlob(bytes.data(), bytes.size()); }

}  // namespace

std::wstring GetHexString(unsigned int flags, const uint8_t* bytes, size_t count) {
    const wchar_t* digits = (flags & kHexUpper) != 0 ? L"0123456789ABCDEF" : L"0123456789abcdef";
    std::wstring text;
    size_t i = 0;
    if ((flags & kHexDropLeadingZero) != 0 && count != 0 && bytes[0] == 0) {
        i = 1;
    }
    text.reserve((count - i) * 3);
    for (; i < count; ++i) {
        if ((flags & kHexColons) != 0 && !text.empty()) {
            text.push_back(L':');
        }
        text.push_back(digits[bytes[i] >> 4]);
        text.push_back(digits[bytes[i] & 15]);
    }
    return text;
}

void CAsn1Boolean::Decode() {
    ca::CByteReader content = Content();
    uint8_t first = 0;
    if (!content.ReadU8(first)) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    boolValue = first != 0;
}

std::wstring CAsn1Boolean::GetFormattedString(unsigned int /*flags*/) {
    return boolValue ? L"True" : L"False";
}

void CAsn1Boolean::_Encode() { _SetEncoded(CopyOf({static_cast<uint8_t>(boolValue ? 0xFF : 0x00)}), 1); }

void CAsn1Boolean::SetValue(bool isTrue) {
    boolValue = isTrue;
    SetChanged(true);
}

void CAsn1Integer::Decode() {
    ca::CByteReader content = Content();
    const uint8_t* start = nullptr;
    const size_t count = content.Left();
    if (!content.ReadBytes(count, start)) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    bytes = start;
    byteCount = static_cast<uint32_t>(count);
}

std::wstring CAsn1Integer::GetFormattedString(unsigned int flags) {
    if (byteCount > 4) {
        return GetHexString(flags);
    }
    uint32_t number = 0;
    for (uint32_t i = 0; i < byteCount; ++i) {
        number = (number << 8) | bytes[i];
    }
    return std::to_wstring(number);
}

std::wstring CAsn1Integer::GetHexString(unsigned int flags) const {
    return ::GetHexString(flags, bytes, byteCount);
}

void CAsn1Integer::_Encode() {
    _SetEncoded(ca::CopyBlob(bytes, byteCount), byteCount);
    bytes = encoded.data.get();
}

void CAsn1Integer::SetBytes(const uint8_t* inBytes, size_t count) {
    value.data = ca::CopyBlob(inBytes, count);
    value.size = static_cast<uint32_t>(count);
    bytes = value.data.get();
    byteCount = value.size;
    SetChanged(true);
}

void CAsn1BitString::Decode() {
    ca::CByteReader content = Content();
    if (!content.ReadU8(unusedBits)) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    const size_t count = content.Left();
    if (unusedBits != 0 && count != 0) {
        // Deliberate: cleared in the parsed buffer, inside the bytes the reader vouched for.
        uint8_t& last = block->data[1 + count - 1];
        last = ClearPadding(last, unusedBits);
    }
    const uint8_t* rest = nullptr;
    if (!content.ReadBytes(count, rest)) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    value.data = ca::CopyBlob(rest, count);
    value.size = static_cast<uint32_t>(count);
}

std::wstring CAsn1BitString::GetFormattedString(unsigned int /*flags*/) {
    return GetHexString(0, value.data.get(), HeldBytes(value));
}

void CAsn1BitString::_Encode() {
    const size_t count = HeldBytes(value);
    std::vector<uint8_t> out(1 + count);
    out[0] = unusedBits;
    std::copy_n(value.data.get(), count, out.begin() + 1);
    if (count != 0) {
        out.back() = ClearPadding(out.back(), unusedBits);
    }
    _SetEncoded(CopyOf(out), static_cast<uint32_t>(out.size()));
}

void CAsn1BitString::SetValue(const uint8_t* bytes, size_t count, uint8_t unused) {
    value.data = ca::CopyBlob(bytes, count);
    value.size = static_cast<uint32_t>(count);
    unusedBits = unused;
    SetChanged(true);
}

void CAsn1OctetString::Decode() {
    ca::CByteReader content = Content();
    const size_t count = content.Left();
    const uint8_t* bytes = nullptr;
    if (!content.ReadBytes(count, bytes)) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    value.data = ca::CopyBlob(bytes, count);
    value.size = static_cast<uint32_t>(count);
}

std::wstring CAsn1OctetString::GetFormattedString(unsigned int /*flags*/) {
    return GetHexString(0, value.data.get(), HeldBytes(value));
}

void CAsn1OctetString::_Encode() {
    const size_t count = HeldBytes(value);
    _SetEncoded(ca::CopyBlob(value.data.get(), count), static_cast<uint32_t>(count));
}

void CAsn1OctetString::SetValue(const uint8_t* bytes, size_t count) {
    value.data = ca::CopyBlob(bytes, count);
    value.size = static_cast<uint32_t>(count);
    SetChanged(true);
}

std::wstring CAsn1Null::GetFormattedString(unsigned int /*flags*/) { return L"Null"; }

void CAsn1Null::_Encode() { _SetEncoded(ca::AllocOrThrow(0), 0); }

void CAsn1ObjectIdentifier::Decode() {
    oid.clear();
    ca::CByteReader content = Content();
    bool first = true;
    bool inRun = false;
    uint32_t number = 0;
    uint8_t byte = 0;
    while (content.ReadU8(byte)) {
        if (first) {
            number += byte;  // Deliberate: raw byte values, top bits included
        } else {
            number = number * 128 + (byte & 0x7Fu);  // Deliberate: wraps modulo 2^32
        }
        inRun = (byte & 0x80) != 0;
        if (inRun) {
            continue;
        }
        if (first) {
            if (number < 40) {
                oid = L"0." + std::to_wstring(number);
            } else if (number < 80) {
                oid = L"1." + std::to_wstring(number - 40);
            } else {
                oid = L"2." + std::to_wstring(number - 80);
            }
            first = false;
        } else {
            oid += L"." + std::to_wstring(number);
        }
        number = 0;
    }
    if (inRun) {
        throw ca::Exception(ca::kAsn1EndOfData);  // the last sub-identifier has no final byte
    }
}

std::wstring CAsn1ObjectIdentifier::GetFormattedString(unsigned int /*flags*/) { return oid; }

void CAsn1ObjectIdentifier::_Encode() {
    std::vector<uint32_t> arcs;
    for (size_t from = 0; from < oid.size();) {
        size_t to = oid.find(L'.', from);
        if (to == std::wstring::npos) {
            to = oid.size();
        }
        arcs.push_back(ParseArc(oid.substr(from, to - from)));
        from = to + 1;
    }
    std::vector<uint8_t> out;
    if (!arcs.empty()) {
        AppendBase128(out, arcs[0] * 40 + (arcs.size() > 1 ? arcs[1] : 0));
        for (size_t i = 2; i < arcs.size(); ++i) {
            AppendBase128(out, arcs[i]);
        }
    }
    _SetEncoded(CopyOf(out), static_cast<uint32_t>(out.size()));
}

void CAsn1ObjectIdentifier::SetOid(const std::wstring& dotted) {
    oid = dotted;
    SetChanged(true);
}

void CAsn1BaseString::Decode() {
    ca::CByteReader content = Content();
    const size_t count = content.Left();
    const uint8_t* bytes = nullptr;
    if (!content.ReadBytes(count, bytes)) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    text = ca::u8u16(reinterpret_cast<const char*>(bytes), count);
}

std::wstring CAsn1BaseString::GetFormattedString(unsigned int /*flags*/) { return text; }

void CAsn1BaseString::_Encode() {
    const std::string utf8 = ca::u16u8(text);
    _SetEncoded(ca::CopyBlob(reinterpret_cast<const uint8_t*>(utf8.data()), utf8.size()),
                static_cast<uint32_t>(utf8.size()));
}

void CAsn1BaseString::SetText(const std::wstring& inText) {
    text = inText;
    SetChanged(true);
}

void CAsn1TeletexString::Decode() {
    ca::CByteReader content = Content();
    const size_t count = content.Left();
    const uint8_t* bytes = nullptr;
    if (!content.ReadBytes(count, bytes)) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    std::string copy(reinterpret_cast<const char*>(bytes), count);
    std::replace(copy.begin(), copy.end(), '\xC2', '\'');
    text = ca::u8u16(copy);
}

void CAsn1UnicodeString::Decode() {
    ca::CByteReader content = Content();
    text.clear();
    uint32_t pendingHigh = 0;
    const uint8_t* pair = nullptr;
    while (content.ReadBytes(2, pair)) {
        const uint32_t unit = (uint32_t{pair[0]} << 8) | pair[1];
        if (pendingHigh != 0) {
            if (unit >= 0xDC00 && unit <= 0xDFFF) {
                text.push_back(
                    static_cast<wchar_t>(0x10000 + ((pendingHigh - 0xD800) << 10) + (unit - 0xDC00)));
                pendingHigh = 0;
                continue;
            }
            text.push_back(L'\uFFFD');
            pendingHigh = 0;
        }
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            pendingHigh = unit;
        } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
            text.push_back(L'\uFFFD');
        } else {
            text.push_back(static_cast<wchar_t>(unit));
        }
    }
    if (pendingHigh != 0) {
        text.push_back(L'\uFFFD');
    }
}

void CAsn1Time::Decode() { _DecodeTime(block, zoneOffset, timeValue); }

// The content is split into numbers: GeneralizedTime starts with a four-character year, then both
// forms read two-character groups, each taken while it starts before the last character (so a final
// "Z" is never read). Year, month and day must be present; hour, minute and second default to 0.
void CAsn1Time::_DecodeTime(const CAsn1Block* timeBlock, int& zone, tm& out) const {
    out = tm{};
    zone = 0;
    ca::CByteReader content(timeBlock->data, timeBlock->ReadableLength());
    const size_t size = content.Left();
    const uint8_t* bytes = nullptr;
    if (!content.ReadBytes(size, bytes)) {
        throw ca::Exception(ca::kAsn1EndOfData);
    }
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    std::vector<std::string> groups;
    for (size_t at = 0; size != 0 && at < size - 1;) {
        const size_t width = generalized && at == 0 ? 4 : 2;
        if (at + width > size) {
            break;
        }
        groups.push_back(text.substr(at, width));
        at += width;
    }
    if (groups.size() < 3) {
        throw ca::Exception(ca::kAsn1EndOfData);  // no date in it
    }
    const auto number = [&groups](size_t i) { return i < groups.size() ? ParseNumber(groups[i]) : 0; };
    // Deliberate: UTCTime has no pivot year, 00..99 are 2000..2099.
    out.tm_year = generalized ? number(0) - 1900 : 100 + number(0);
    out.tm_mon = number(1) - 1;
    out.tm_mday = number(2);
    out.tm_hour = number(3);
    out.tm_min = number(4);
    out.tm_sec = number(5);
    const size_t signAt = generalized ? 14 : 12;
    if (signAt < size && (text[signAt] == '+' || text[signAt] == '-')) {
        if (groups.size() < 8) {
            throw ca::Exception(ca::kAsn1EndOfData);
        }
        // Deliberate: the groups at the sign and after it ("+0", "30" for "+0300") make the offset.
        const int minutes = number(6) * 60 + number(7);
        zone = text[signAt] == '-' ? -minutes : minutes;
    }
    out.tm_min -= zone;
    // Deliberate: UTCTime is normalised as UTC, GeneralizedTime as local time.
    if (generalized) {
        std::mktime(&out);
    } else {
        timegm(&out);
    }
}

void CAsn1Time::_EncodeTime() {
    char text[128];
    int n = generalized ? std::snprintf(text, sizeof(text), "%04d%02d%02d%02d%02d%02d",
                                        timeValue.tm_year + 1900, timeValue.tm_mon + 1, timeValue.tm_mday,
                                        timeValue.tm_hour, timeValue.tm_min, timeValue.tm_sec)
                        : std::snprintf(text, sizeof(text), "%02d%02d%02d%02d%02d%02d",
                                        timeValue.tm_year - 100, timeValue.tm_mon + 1, timeValue.tm_mday,
                                        timeValue.tm_hour, timeValue.tm_min, timeValue.tm_sec);
    n = std::clamp(n, 0, static_cast<int>(sizeof(text)) - 1);
    if (zoneOffset == 0) {
        n += std::snprintf(text + n, sizeof(text) - static_cast<size_t>(n), "Z");
    } else {
        // The sign is written apart, so that an offset under an hour keeps it ("-0030").
        const int magnitude = std::abs(zoneOffset);
        n += std::snprintf(text + n, sizeof(text) - static_cast<size_t>(n), "%c%02d%02d",
                           zoneOffset < 0 ? '-' : '+', magnitude / 60, magnitude % 60);
    }
    n = std::clamp(n, 0, static_cast<int>(sizeof(text)) - 1);
    _SetEncoded(ca::CopyBlob(reinterpret_cast<const uint8_t*>(text), static_cast<size_t>(n)),
                static_cast<uint32_t>(n));
}

void CAsn1Time::_Encode() { _EncodeTime(); }

std::string CAsn1Time::GetString() const {
    char text[20] = {};
    if (std::strftime(text, sizeof(text), "%d.%m.%Y %X", &timeValue) == 0) {
        return {};
    }
    return text;
}

std::wstring CAsn1Time::GetFormattedString(unsigned int /*flags*/) { return ca::u8u16(GetString()); }

void CAsn1Time::SetTimeZoneOffset(int hours, int minutes) {
    if (hours == 0) {
        zoneOffset = minutes;
    } else {
        const long long whole = std::llabs(hours) * 60LL + minutes;
        zoneOffset = static_cast<int>(whole * hours / std::llabs(hours));
    }
    SetChanged(true);
}

void CAsn1Time::SetTime(const tm& inTime) {
    timeValue = inTime;
    SetChanged(true);
}

void CAsn1ContructedOctetString::Decode() {
    std::vector<uint8_t> joined;
    for (const auto& inner : block->innerBlocks) {
        ca::CByteReader content(inner->data, inner->ReadableLength());
        const size_t count = content.Left();
        const uint8_t* bytes = nullptr;
        if (!content.ReadBytes(count, bytes)) {
            throw ca::Exception(ca::kAsn1EndOfData);
        }
        joined.insert(joined.end(), bytes, bytes + count);
    }
    value.data = CopyOf(joined);
    value.size = static_cast<uint32_t>(joined.size());
}

void CAsn1ContructedOctetString::_Encode() {
    const size_t count = HeldBytes(value);
    // Written back as one primitive OCTET STRING.
    block->DeleteInnerBlocks();
    block->tag = static_cast<uint8_t>(block->tag & ~0x20u);
    block->isIndefinite = false;
    _SetEncoded(ca::CopyBlob(value.data.get(), count), static_cast<uint32_t>(count));
}
