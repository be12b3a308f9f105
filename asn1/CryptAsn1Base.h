#pragma once

// Typed ASN.1 values over the blocks of asn1/CryptAsn1Parser.h: the object base, the primitive types,
// and the templates every structure class is declared with (CAsn1Sequence + CreateDecodeObjects).
#include <ctime>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "asn1/CryptAsn1Parser.h"
#include "base/Blob.h"
#include "base/ByteReader.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"

// Flags of GetHexString: upper-case letters, drop a leading zero byte (the sign octet of a positive
// INTEGER), ":" between bytes.
constexpr unsigned int kHexUpper = 1;
constexpr unsigned int kHexDropLeadingZero = 2;
constexpr unsigned int kHexColons = 4;

// GetHexString formats bytes as two lower-case hexadecimal digits each, changed by the kHex* flags.
std::wstring GetHexString(unsigned int flags, const uint8_t* bytes, size_t count);

// RaiseAsn1Error logs the location "unit:line" and the code's text through the error logger, then
// throws ca::Exception(code). LogAsn1Error only logs.
[[noreturn]] void RaiseAsn1Error(uint32_t code, const char* unit, long line);
void LogAsn1Error(uint32_t code, const char* unit, long line);

// The source unit named by failures of the templates below.
constexpr const char* kAsn1TemplateUnit = "CryptAsn1Base.h";

// CAsn1Object is the base of every typed value. It decodes the block it points to (borrowed from a
// parser's tree or a parent object, or owned in ownBlock when built from scratch), formats the value
// and re-encodes it when changed. Decoders never read past the block's parsed bytes: content that
// ends early throws 0x80093102.
class CAsn1Object {
public:
    // Binds to inBlock whatever its tag.
    CAsn1Object(CAsn1Block* inBlock, CAsn1Object* parent);
    // Binds to inBlock; throws 0x8009310B when its identifier is not expectedTag and it is not
    // context-specific (an implicitly tagged block is accepted in place of any type).
    CAsn1Object(CAsn1Block* inBlock, unsigned long expectedTag, CAsn1Object* parent);
    // Creates an owned block carrying inTag: a value to be encoded.
    explicit CAsn1Object(unsigned char inTag);
    CAsn1Object();
    virtual ~CAsn1Object();
    CAsn1Object(const CAsn1Object&) = delete;
    // Deliberate: copies both buffers' sizes, block, tag, changed and parentObject, but a buffer's
    // bytes only when this object already holds a buffer of that kind; otherwise just the size.
    CAsn1Object& operator=(const CAsn1Object& other);

    // Encode re-encodes the value when changed and clears the flag.
    virtual void Encode();
    // Decode reads the value from block.
    virtual void Decode();
    // GetTagName is the type's display name ("" for the base).
    virtual std::string GetTagName() const;
    // GetFormattedString is the value for display ("" for the base).
    virtual std::wstring GetFormattedString(unsigned int flags);
    // _AttachInnerObject makes this the child's parent; addBlock also moves the child's owned block
    // into this object's block (throws 0x8009310B when the child's block belongs to another tree).
    virtual void _AttachInnerObject(CAsn1Object* child, bool addBlock);
    // _DetachInnerObject unlinks the child; giveOwnership hands it its block, otherwise the block stays
    // in this tree marked isDetached, so that it is neither counted nor written.
    virtual void _DetachInnerObject(CAsn1Object* child, bool giveOwnership);
    virtual void _SetParenObject(CAsn1Object* parent);
    // _SetSelfOwnObject takes the block out of its parent block and owns it.
    virtual void _SetSelfOwnObject();
    // _Encode writes new content from the value into encoded and the block.
    virtual void _Encode();

    uint32_t GetAsn1DataLength();          // recalculates the block's total length
    void GetAsn1Data(unsigned char* out);  // out holds GetAsn1DataLength() bytes
    std::vector<uint8_t> GetAsn1Data();    // the same, sized by itself
    // SetChanged sets the flag; true marks every ancestor too.
    void SetChanged(bool isChanged);
    // GetRawData is the base64 of the content (contentOnly) or of the whole encoding as parsed.
    std::wstring GetRawData(bool contentOnly) const;

    ca::Blob encoded;
    ca::Blob value;
    CAsn1Block* block = nullptr;
    uint32_t tag = 0;
    bool changed = false;
    CAsn1Object* parentObject = nullptr;
    std::unique_ptr<CAsn1Block> ownBlock;

protected:
    // Content reads the block's content bytes, never past what was parsed.
    ca::CByteReader Content() const;
    // _SetEncoded makes bytes the encoded buffer and the block's content.
    void _SetEncoded(ca::MallocPtr bytes, uint32_t size);
};

// CreatePrimitiveObject picks the class for the block's identifier octet (table in the .cpp; any
// other identifier, and every context or application tag, gives CAsn1Unknown). nullptr for no block.
std::unique_ptr<CAsn1Object> CreatePrimitiveObject(CAsn1Block* inBlock, CAsn1Object* parent);

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

// CAsn1BaseString: a string read as UTF-8 (IA5, Printable, Numeric and the visible string types).
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

class CAsn1UTF8String : public CAsn1BaseString {
public:
    static constexpr uint8_t kTag = 0x0C;
    CAsn1UTF8String(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1BaseString(inBlock, kTag, parent) {}
    explicit CAsn1UTF8String(unsigned char inTag = kTag) : CAsn1BaseString(inTag) {}
    std::string GetTagName() const override { return "UTF8 STRING"; }
};

class CAsn1NumericString : public CAsn1BaseString {
public:
    static constexpr uint8_t kTag = 0x12;
    CAsn1NumericString(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1BaseString(inBlock, kTag, parent) {}
    explicit CAsn1NumericString(unsigned char inTag = kTag) : CAsn1BaseString(inTag) {}
    std::string GetTagName() const override { return "NUMERIC STRING"; }
};

class CAsn1PrintableString : public CAsn1BaseString {
public:
    static constexpr uint8_t kTag = 0x13;
    CAsn1PrintableString(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1BaseString(inBlock, kTag, parent) {}
    explicit CAsn1PrintableString(unsigned char inTag = kTag) : CAsn1BaseString(inTag) {}
    std::string GetTagName() const override { return "PRINTABLE STRING"; }
};

// CAsn1TeletexString: Deliberate: every byte 0xC2 reads as an apostrophe before the UTF-8 decoding.
class CAsn1TeletexString : public CAsn1BaseString {
public:
    static constexpr uint8_t kTag = 0x14;
    CAsn1TeletexString(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1BaseString(inBlock, kTag, parent) {}
    explicit CAsn1TeletexString(unsigned char inTag = kTag) : CAsn1BaseString(inTag) {}
    void Decode() override;
    std::string GetTagName() const override { return "TELETEX STRING"; }
};

class CAsn1IA5String : public CAsn1BaseString {
public:
    static constexpr uint8_t kTag = 0x16;
    CAsn1IA5String(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1BaseString(inBlock, kTag, parent) {}
    explicit CAsn1IA5String(unsigned char inTag = kTag) : CAsn1BaseString(inTag) {}
    std::string GetTagName() const override { return "IA5 STRING"; }
};

// CAsn1UnicodeString: BMPString, read as UTF-16 big-endian (a trailing odd byte is ignored).
class CAsn1UnicodeString : public CAsn1BaseString {
public:
    static constexpr uint8_t kTag = 0x1E;
    CAsn1UnicodeString(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1BaseString(inBlock, kTag, parent) {}
    explicit CAsn1UnicodeString(unsigned char inTag = kTag) : CAsn1BaseString(inTag) {}
    void Decode() override;
    std::string GetTagName() const override { return "UNICODE STRING"; }
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

template <class T>
class CAsn1Explicit;

// CAsn1Constructed is the base of every structured type. A structure class derives from it (through
// CAsn1Sequence or CAsn1Set), overrides CreateDecodeObjects with one Append call per member in ASN.1
// order, and keeps the returned pointers as its typed fields:
//
//     class CAsn1AlgorithmIdentifier : public CAsn1Sequence {
//         void CreateDecodeObjects() override {
//             algorithm = AppendT<CAsn1ObjectIdentifier>(false);
//             parameters = AppendT<CAsn1Object>(true);  // ANY OPTIONAL: typed by CreatePrimitiveObject
//         }
//     };
//
// IMPLICIT [n] members use _appendSpecificT<T>(n, optional), EXPLICIT [n] ones AppendExplicitT<T>(n,
// optional). T is the members' common type (a SET OF Certificate uses CAsn1Certificate); members are
// owned here. A missing mandatory member or one of the wrong type throws 0x8009310B.
template <class T = CAsn1Object>
class CAsn1Constructed : public CAsn1Object {
public:
    // Both forms throw 0x8009310B (logged) over a block whose constructed bit is clear.
    CAsn1Constructed(CAsn1Block* inBlock, CAsn1Object* parent) : CAsn1Object(inBlock, parent) {
        _CheckConstructed();
    }
    CAsn1Constructed(CAsn1Block* inBlock, unsigned long expectedTag, CAsn1Object* parent)
        : CAsn1Object(inBlock, expectedTag, parent) {
        _CheckConstructed();
    }
    explicit CAsn1Constructed(unsigned char inTag) : CAsn1Object(inTag) {}

    // Decode creates the members once (a second Decode reuses them), decodes each, then
    // ReadProperties.
    void Decode() override {
        if (innerObjects.empty()) {
            CreateDecodeObjects();
        }
        _Decode();
        ReadProperties();
    }
    // CreateDecodeObjects builds the members over the child blocks. The base makes one member per
    // child: CreatePrimitiveObject for CAsn1Object members, T for any other T.
    virtual void CreateDecodeObjects() {
        for (size_t i = 0; i < block->GetInnerBlockCount(); ++i) {
            if constexpr (std::is_same_v<T, CAsn1Object>) {
                std::unique_ptr<CAsn1Object> member = CreatePrimitiveObject(block->GetInnerBlock(i), this);
                if (member == nullptr) {
                    LogAsn1Error(ca::kAsn1BadTag, kAsn1TemplateUnit, 451);
                    innerObjects.push_back(nullptr);
                    continue;
                }
                _AddNew(std::move(member));
                ++readIndex;
            } else {
                AppendT<T>(false);
            }
        }
    }
    // ReadProperties copies member values into the class's own fields after decoding.
    virtual void ReadProperties() {}
    // WriteProperties writes the class's fields back into the members before encoding.
    virtual void WriteProperties() {}
    virtual void _Decode() {
        for (T* member : innerObjects) {
            if (member != nullptr) {
                member->Decode();
            }
        }
    }
    void _Encode() override {
        WriteProperties();
        for (T* member : innerObjects) {
            if (member != nullptr) {
                member->Encode();
            }
        }
    }

    // AddNew appends a member built from scratch (its block joins this block) and owns it.
    template <class U>
    U* AddNew(std::unique_ptr<U> object) {
        static_assert(std::is_base_of_v<T, U>, "a member must be of the collection's type");
        _AttachInnerObject(object.get(), true);
        U* member = object.get();
        innerObjects.push_back(member);
        createdObjects.push_back(std::move(object));
        SetChanged(true);
        return member;
    }

    std::vector<T*> innerObjects;
    std::vector<std::unique_ptr<CAsn1Object>> createdObjects;
    int32_t readIndex = 0;

protected:
    // AppendT makes the next child block (at readIndex) a U member. A block of another type returns
    // nullptr for an optional member without consuming the block; no block left returns nullptr for
    // an optional member. Otherwise the failure is logged and thrown (0x8009310B).
    template <class U>
    U* AppendT(bool optional) {
        CAsn1Block* child = readIndex < 0 ? nullptr : block->GetInnerBlock(static_cast<size_t>(readIndex));
        if (child == nullptr) {
            ++readIndex;
            if (!optional) {
                RaiseAsn1Error(ca::kAsn1BadTag, kAsn1TemplateUnit, 537);
            }
            return nullptr;
        }
        std::unique_ptr<U> member;
        try {
            member = _Make<U>(child);
        } catch (const ca::Exception& e) {
            if (e.code == ca::kAsn1BadTag && optional) {
                return nullptr;  // the block is offered to the next member
            }
            LogAsn1Error(e.code, kAsn1TemplateUnit, 537);
            throw;
        }
        ++readIndex;
        return _AddNew(std::move(member));
    }

    // _appendSpecificT makes the child tagged [index] (searched from the first child) an implicitly
    // tagged U member. Absent: nullptr when optional, else 0x8009310B (logged).
    template <class U>
    U* _appendSpecificT(unsigned int index, bool optional) {
        CAsn1Block* child = block->GetBlockBySpecificIdx(index, 0);
        if (child == nullptr) {
            if (!optional) {
                RaiseAsn1Error(ca::kAsn1BadTag, kAsn1TemplateUnit, 606);
            }
            return nullptr;
        }
        U* member = _AddNew(_Make<U>(child));
        ++readIndex;
        return member;
    }

    // AppendExplicitT wraps the child tagged [index] (searched from the first child) in a
    // CAsn1Explicit over a U member. Absent: nullptr when optional, else 0x8009310B (logged).
    template <class U>
    CAsn1Explicit<U>* AppendExplicitT(unsigned int index, bool optional) {
        return _appendSpecificT<CAsn1Explicit<U>>(index, optional);
    }

    // _AddNew attaches a member made over one of this block's children and owns it.
    template <class U>
    U* _AddNew(std::unique_ptr<U> object) {
        _AttachInnerObject(object.get(), false);
        U* member = object.get();
        innerObjects.push_back(member);
        createdObjects.push_back(std::move(object));
        return member;
    }

private:
    void _CheckConstructed() {
        if (!block->IsConstructed()) {
            RaiseAsn1Error(ca::kAsn1BadTag, kAsn1TemplateUnit, 737);
        }
    }

    template <class U>
    std::unique_ptr<U> _Make(CAsn1Block* child) {
        if constexpr (std::is_same_v<U, CAsn1Object>) {
            return CreatePrimitiveObject(child, this);
        } else {
            return std::make_unique<U>(child, this);
        }
    }
};

// CAsn1SequenceOf / CAsn1SetOf fix the identifier to SEQUENCE (0x30) or SET (0x31); T as above.
template <class T = CAsn1Object>
class CAsn1SequenceOf : public CAsn1Constructed<T> {
public:
    static constexpr uint8_t kTag = 0x30;
    CAsn1SequenceOf(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1Constructed<T>(inBlock, kTag, parent) {}
    explicit CAsn1SequenceOf(unsigned char inTag = kTag) : CAsn1Constructed<T>(inTag) {}
};

template <class T = CAsn1Object>
class CAsn1SetOf : public CAsn1Constructed<T> {
public:
    static constexpr uint8_t kTag = 0x31;
    CAsn1SetOf(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1Constructed<T>(inBlock, kTag, parent) {}
    explicit CAsn1SetOf(unsigned char inTag = kTag) : CAsn1Constructed<T>(inTag) {}
};

// CAsn1Sequence and CAsn1Set: members of any type; the base of most structure classes.
class CAsn1Sequence : public CAsn1SequenceOf<CAsn1Object> {
public:
    using CAsn1SequenceOf<CAsn1Object>::CAsn1SequenceOf;
};

class CAsn1Set : public CAsn1SetOf<CAsn1Object> {
public:
    using CAsn1SetOf<CAsn1Object>::CAsn1SetOf;
};

// CAsn1Explicit is an EXPLICIT [n] member: its block is the context-tagged one, its single member
// (inner) a T over the block inside.
template <class T>
class CAsn1Explicit : public CAsn1Constructed<T> {
public:
    CAsn1Explicit(CAsn1Block* inBlock, CAsn1Object* parent = nullptr)
        : CAsn1Constructed<T>(inBlock, parent) {}
    explicit CAsn1Explicit(unsigned char inTag = 0xA0) : CAsn1Constructed<T>(inTag) {}
    void CreateDecodeObjects() override { inner = this->template AppendT<T>(false); }
    // SetInner adds the wrapped value when building.
    T* SetInner(std::unique_ptr<T> object) {
        inner = this->AddNew(std::move(object));
        return inner;
    }

    T* inner = nullptr;
};

// CAsn1Tagged is T under an IMPLICIT context tag, for choice alternatives that differ by tag only
// ([1] IA5String, [2] IA5String): a default-constructed one carries kTagValue.
template <class T, uint8_t kTagValue>
class CAsn1Tagged : public T {
public:
    CAsn1Tagged(CAsn1Block* inBlock, CAsn1Object* parent = nullptr) : T(inBlock, parent) {}
    CAsn1Tagged() : T(static_cast<unsigned char>(kTagValue)) {}
};

// CAsn1Choice holds the one alternative of Alternatives whose tag equals the block's identifier
// (tried in the declared order; none: nothing is chosen). Built from scratch, it takes the
// alternative at a requested position.
template <class... Alternatives>
class CAsn1Choice : public CAsn1Object {
public:
    CAsn1Choice(CAsn1Block* inBlock, CAsn1Object* parent = nullptr) : CAsn1Object(inBlock, parent) {
        _Choose(inBlock, false);
    }
    explicit CAsn1Choice(int position = -1) : CAsn1Object() {
        requestedPosition = position;
        _Choose(block, true);
    }

    void Decode() override {
        if (chosen != nullptr) {
            chosen->Decode();
        }
    }
    void _Encode() override {
        if (chosen != nullptr) {
            chosen->_Encode();
            chosen->changed = false;
        }
    }
    std::string GetTagName() const override {
        return chosen != nullptr ? chosen->GetTagName() : std::string();
    }
    std::wstring GetFormattedString(unsigned int flags) override {
        return chosen != nullptr ? chosen->GetFormattedString(flags) : std::wstring();
    }

    // GetChosen returns the alternative when it is a U, else nullptr.
    template <class U>
    U* GetChosen() const {
        return chosenType != nullptr && *chosenType == typeid(U) ? static_cast<U*>(chosen.get()) : nullptr;
    }

    // _MakeChoice tries one alternative; the first that fits in a round wins.
    template <class U>
    void _MakeChoice(CAsn1Block* inBlock, CAsn1Object* parent, bool byPosition) {
        const int position = positionCounter++;
        if (_madeThisRound) {
            return;
        }
        if (byPosition) {
            if (position != requestedPosition) {
                return;
            }
            auto alternative = std::make_unique<U>();
            // The choice stands for its alternative: it takes over the new block.
            ownBlock = std::move(alternative->ownBlock);
            block = alternative->block;
            tag = alternative->tag;
            chosen = std::move(alternative);
        } else {
            if (inBlock->tag != U().tag) {
                return;
            }
            chosen = std::make_unique<U>(inBlock, parent);
        }
        chosen->parentObject = this;
        chosenType = &typeid(U);
        _madeThisRound = true;
    }

    std::unique_ptr<CAsn1Object> chosen;
    const std::type_info* chosenType = nullptr;
    int requestedPosition = -1;
    int positionCounter = 0;

private:
    void _Choose(CAsn1Block* inBlock, bool byPosition) {
        positionCounter = 0;
        _madeThisRound = false;
        (_MakeChoice<Alternatives>(inBlock, this, byPosition), ...);
    }

    bool _madeThisRound = false;
};

// CAsn1AlgorithmIdentifier: AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER,
// parameters ANY OPTIONAL }. Absent parameters leave parameters null.
class CAsn1AlgorithmIdentifier : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetOidString is the algorithm's dotted OID ("" before decoding).
    std::wstring GetOidString() const;

    CAsn1ObjectIdentifier* algorithm = nullptr;
    CAsn1Object* parameters = nullptr;
};
