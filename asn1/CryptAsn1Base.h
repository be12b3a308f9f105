#pragma once

// CAsn1Object, the base of every typed ASN.1 value over the blocks of asn1/CryptAsn1Parser.h. The
// primitive types are in asn1/Asn1Primitives.h, the structure templates and the tag -> class factory
// in asn1/Asn1Constructed.h.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "asn1/CryptAsn1Parser.h"
#include "base/Blob.h"
#include "base/ByteReader.h"

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
    // GetEncoding is the whole encoding as parsed (never past the parsed bytes); a block built here
    // gives its current encoding.
    std::vector<uint8_t> GetEncoding() const;

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
