#pragma once

// The primitive ASN.1 types: BOOLEAN, INTEGER, BIT and OCTET STRING, NULL, OBJECT IDENTIFIER, the
// string types, UTCTime and GeneralizedTime, each a CAsn1Object over one block.
#include <cstdint>
#include <ctime>
#include <string>

#include "asn1/CryptAsn1Base.h"

// Flags of GetHexString: upper-case letters, drop a leading zero byte (the sign octet of a positive
// INTEGER), ":" between bytes.
constexpr unsigned int kHexUpper = 1;
constexpr unsigned int kHexDropLeadingZero = 2;
constexpr unsigned int kHexColons = 4;

// GetHexString formats bytes as two lower-case hexadecimal digits each, changed by the kHex* flags.
std::wstring GetHexString(unsigned int flags, const uint8_t* bytes, size_t count);

// CAsn1Boolean: BOOLEAN, true when the first content byte is not zero.
class CAsn1Boolean : public CAsn1Object {
public:
    static constexpr uint8_t kTag = 0x01;
    CAsn1Boolean(CAsn1Block* inBlock, CAsn1Object* parent = nullptr) : CAsn1Object(inBlock, kTag, parent) {}
    explicit CAsn1Boolean(unsigned char inTag = kTag) : CAsn1Object(inTag) {}
    void Decode() override;
    std::string GetTagName() const override { return "BOOLEAN"; }
    std::wstring GetFormattedString(unsigned int flags) override;  // "True" / "False"
    void _Encode() override;
    void SetValue(bool isTrue);

    bool boolValue = false;
};

// CAsn1Integer: INTEGER; the value points into the content (no copy).
class CAsn1Integer : public CAsn1Object {
public:
    static constexpr uint8_t kTag = 0x02;
    CAsn1Integer(CAsn1Block* inBlock, CAsn1Object* parent = nullptr) : CAsn1Object(inBlock, kTag, parent) {}
    explicit CAsn1Integer(unsigned char inTag = kTag) : CAsn1Object(inTag) {}
    void Decode() override;
    std::string GetTagName() const override { return "INTEGER"; }
    // Up to four bytes: the unsigned decimal of the big-endian bytes ("0" for none); longer values:
    // GetHexString(flags).
    std::wstring GetFormattedString(unsigned int flags) override;
    void _Encode() override;
    std::wstring GetHexString(unsigned int flags) const;
    // SetBytes copies the big-endian content to encode.
    void SetBytes(const uint8_t* inBytes, size_t count);

    const uint8_t* bytes = nullptr;
    uint32_t byteCount = 0;
};

// CAsn1BitString: BIT STRING, the unused-bit count and a copy of the bytes after it.
class CAsn1BitString : public CAsn1Object {
public:
    static constexpr uint8_t kTag = 0x03;
    CAsn1BitString(CAsn1Block* inBlock, CAsn1Object* parent = nullptr) : CAsn1Object(inBlock, kTag, parent) {}
    explicit CAsn1BitString(unsigned char inTag = kTag) : CAsn1Object(inTag) {}
    // Deliberate: the padding bits of the last byte are cleared in the parsed buffer itself before the
    // copy is taken. Content without the count byte throws 0x80093102.
    void Decode() override;
    std::string GetTagName() const override { return "BIT STRING"; }
    std::wstring GetFormattedString(unsigned int flags) override;  // hex of the value, flags unused
    void _Encode() override;
    void SetValue(const uint8_t* bytes, size_t count, uint8_t unused);

    uint8_t unusedBits = 0;
};

// CAsn1OctetString: OCTET STRING, a copy of the content.
class CAsn1OctetString : public CAsn1Object {
public:
    static constexpr uint8_t kTag = 0x04;
    CAsn1OctetString(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1Object(inBlock, kTag, parent) {}
    explicit CAsn1OctetString(unsigned char inTag = kTag) : CAsn1Object(inTag) {}
    void Decode() override;
    std::string GetTagName() const override { return "OCTET STRING"; }
    std::wstring GetFormattedString(unsigned int flags) override;  // hex of the value, flags unused
    void _Encode() override;
    void SetValue(const uint8_t* bytes, size_t count);
};

// CAsn1Null: NULL.
class CAsn1Null : public CAsn1Object {
public:
    static constexpr uint8_t kTag = 0x05;
    CAsn1Null(CAsn1Block* inBlock, CAsn1Object* parent = nullptr) : CAsn1Object(inBlock, kTag, parent) {}
    explicit CAsn1Null(unsigned char inTag = kTag) : CAsn1Object(inTag) {}
    std::string GetTagName() const override { return "NULL"; }
    std::wstring GetFormattedString(unsigned int flags) override;  // "Null"
    void _Encode() override;
};

// CAsn1ObjectIdentifier: OBJECT IDENTIFIER as a dotted wide string.
class CAsn1ObjectIdentifier : public CAsn1Object {
public:
    static constexpr uint8_t kTag = 0x06;
    CAsn1ObjectIdentifier(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1Object(inBlock, kTag, parent) {}
    explicit CAsn1ObjectIdentifier(unsigned char inTag = kTag) : CAsn1Object(inTag) {}
    // Deliberate: a first sub-identifier of several bytes is the plain sum of its raw bytes, not a
    // base-128 number. Later sub-identifiers wrap modulo 2^32. A truncated last one throws 0x80093102.
    void Decode() override;
    std::string GetTagName() const override { return "OBJECT IDENTIFIER"; }
    std::wstring GetFormattedString(unsigned int flags) override;  // the dotted string
    // _Encode writes the dotted string: 40 x first + second, then each arc in base 128.
    void _Encode() override;
    void SetOid(const std::wstring& dotted);

    std::wstring oid;
};

// CAsn1BaseString: a string read as UTF-8 and written back as UTF-8.
class CAsn1BaseString : public CAsn1Object {
public:
    CAsn1BaseString(CAsn1Block* inBlock, unsigned long expectedTag, CAsn1Object* parent)
        : CAsn1Object(inBlock, expectedTag, parent) {}
    explicit CAsn1BaseString(unsigned char inTag) : CAsn1Object(inTag) {}
    void Decode() override;
    std::wstring GetFormattedString(unsigned int flags) override;  // the decoded text
    void _Encode() override;                                       // the text as UTF-8
    void SetText(const std::wstring& inText);

    std::wstring text;
};

// CAsn1StringT is a CAsn1BaseString fixed to one identifier and display name. The UTF8, Numeric,
// Printable and IA5 strings are it as it is; the Teletex and BMP strings derive from it to read
// their content their own way.
template <uint8_t kTagValue, const char* kTagName>
class CAsn1StringT : public CAsn1BaseString {
public:
    static constexpr uint8_t kTag = kTagValue;
    CAsn1StringT(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1BaseString(inBlock, kTag, parent) {}
    explicit CAsn1StringT(unsigned char inTag = kTag) : CAsn1BaseString(inTag) {}
    std::string GetTagName() const override { return kTagName; }
};

inline constexpr char kUtf8StringName[] = "UTF8 STRING";
inline constexpr char kNumericStringName[] = "NUMERIC STRING";
inline constexpr char kPrintableStringName[] = "PRINTABLE STRING";
inline constexpr char kTeletexStringName[] = "TELETEX STRING";
inline constexpr char kIa5StringName[] = "IA5 STRING";
inline constexpr char kUnicodeStringName[] = "UNICODE STRING";

using CAsn1UTF8String = CAsn1StringT<0x0C, kUtf8StringName>;
using CAsn1NumericString = CAsn1StringT<0x12, kNumericStringName>;
using CAsn1PrintableString = CAsn1StringT<0x13, kPrintableStringName>;
using CAsn1IA5String = CAsn1StringT<0x16, kIa5StringName>;

// CAsn1TeletexString: Deliberate: every byte 0xC2 reads as an apostrophe before the UTF-8 decoding.
class CAsn1TeletexString : public CAsn1StringT<0x14, kTeletexStringName> {
public:
    using CAsn1StringT::CAsn1StringT;
    void Decode() override;
};

// CAsn1UnicodeString: BMPString, read as UTF-16 big-endian (a trailing odd byte is ignored).
class CAsn1UnicodeString : public CAsn1StringT<0x1E, kUnicodeStringName> {
public:
    using CAsn1StringT::CAsn1StringT;
    void Decode() override;
    // Deliberate: a BMPString is never re-encoded; its content stays as read.
    void _Encode() override {}
};

// CAsn1Time: the base of UTCTime and GeneralizedTime: a UTC tm and a zone offset in minutes.
class CAsn1Time : public CAsn1Object {
public:
    CAsn1Time(CAsn1Block* inBlock, unsigned long expectedTag, CAsn1Object* parent)
        : CAsn1Object(inBlock, expectedTag, parent) {}
    explicit CAsn1Time(unsigned char inTag) : CAsn1Object(inTag) {}
    void Decode() override;
    std::wstring GetFormattedString(unsigned int flags) override;  // GetString() widened
    void _Encode() override;                                       // _EncodeTime()

    // _DecodeTime reads timeBlock's text into out and zone (see the .cpp for the layout). Deliberate:
    // UTCTime is always 20YY, and the offset is read from the groups at 12/14 and 14/16, so "+0300"
    // gives 30 minutes. Content too short for a date, a missing offset group or a group that is not
    // a number throws 0x80093102.
    void _DecodeTime(const CAsn1Block* timeBlock, int& zone, tm& out) const;
    // _EncodeTime writes timeValue and zoneOffset as the block's new content.
    void _EncodeTime();
    // GetString is the time as "%d.%m.%Y %X" (at most 19 characters; "" when it does not fit).
    std::string GetString() const;
    // SetTimeZoneOffset stores the offset in minutes with the sign of hours applied to the whole;
    // zero hours store +minutes.
    void SetTimeZoneOffset(int hours, int minutes);
    void SetTime(const tm& inTime);

    tm timeValue{};
    int zoneOffset = 0;

protected:
    bool generalized = false;
};

class CAsn1UTCTime : public CAsn1Time {
public:
    static constexpr uint8_t kTag = 0x17;
    CAsn1UTCTime(CAsn1Block* inBlock, CAsn1Object* parent = nullptr) : CAsn1Time(inBlock, kTag, parent) {}
    explicit CAsn1UTCTime(unsigned char inTag = kTag) : CAsn1Time(inTag) {}
    std::string GetTagName() const override { return "UTC TIME"; }
};

class CAsn1GeneralizedTime : public CAsn1Time {
public:
    static constexpr uint8_t kTag = 0x18;
    CAsn1GeneralizedTime(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1Time(inBlock, kTag, parent) {
        generalized = true;
    }
    explicit CAsn1GeneralizedTime(unsigned char inTag = kTag) : CAsn1Time(inTag) { generalized = true; }
    std::string GetTagName() const override { return "GENERALIZED TIME"; }
};

// CAsn1ContructedOctetString: a constructed OCTET STRING; the value is its children's contents in
// order, re-encoded as one primitive content.
class CAsn1ContructedOctetString : public CAsn1Object {
public:
    static constexpr uint8_t kTag = 0x24;
    CAsn1ContructedOctetString(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1Object(inBlock, kTag, parent) {}
    explicit CAsn1ContructedOctetString(unsigned char inTag = kTag) : CAsn1Object(inTag) {}
    void Decode() override;
    void _Encode() override;
};

// CAsn1Unknown: any other identifier; nothing is decoded or encoded.
class CAsn1Unknown : public CAsn1Object {
public:
    CAsn1Unknown(CAsn1Block* inBlock, CAsn1Object* parent = nullptr) : CAsn1Object(inBlock, parent) {}
    explicit CAsn1Unknown(unsigned char inTag = 0) : CAsn1Object(inTag) {}
};
