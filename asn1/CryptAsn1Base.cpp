#include "asn1/CryptAsn1Base.h"

#include <algorithm>

#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"

namespace {

// CopyBufferIfHeld is the copy rule of CAsn1Object::operator=: bytes only into a buffer already held.
void CopyBufferIfHeld(ca::Blob& to, const ca::Blob& from) {
    if (to.data != nullptr) {
        to.data = from.data != nullptr ? ca::CopyBlob(from.data.get(), from.size) : nullptr;
    }
    to.size = from.size;
}

}  // namespace

CAsn1Object::CAsn1Object(CAsn1Block* inBlock, CAsn1Object* parent) : block(inBlock), parentObject(parent) {
    if (inBlock == nullptr) {
        throw ca::Exception(ca::kAsn1BadTag);
    }
    tag = inBlock->tag;
}

CAsn1Object::CAsn1Object(CAsn1Block* inBlock, unsigned long expectedTag, CAsn1Object* parent)
    : CAsn1Object(inBlock, parent) {
    if (inBlock->tag != expectedTag && !inBlock->IsContextSpecific()) {
        throw ca::Exception(ca::kAsn1BadTag);
    }
}

CAsn1Object::CAsn1Object(unsigned char inTag)
    : block(nullptr), tag(inTag), changed(true), ownBlock(std::make_unique<CAsn1Block>()) {
    ownBlock->tag = inTag;
    block = ownBlock.get();
}

CAsn1Object::CAsn1Object() : CAsn1Object(static_cast<unsigned char>(0)) {}

CAsn1Object::~CAsn1Object() = default;

CAsn1Object& CAsn1Object::operator=(const CAsn1Object& other) {
    if (this != &other) {
        CopyBufferIfHeld(encoded, other.encoded);
        CopyBufferIfHeld(value, other.value);
        block = other.block;
        tag = other.tag;
        changed = other.changed;
        parentObject = other.parentObject;
    }
    return *this;
}

void CAsn1Object::Encode() {
    if (changed) {
        _Encode();
        changed = false;
    }
}

void CAsn1Object::Decode() {}

std::string CAsn1Object::GetTagName() const { return {}; }

std::wstring CAsn1Object::GetFormattedString(unsigned int /*flags*/) { return {}; }

void CAsn1Object::_AttachInnerObject(CAsn1Object* child, bool addBlock) {
    child->parentObject = this;
    if (addBlock) {
        if (child->ownBlock == nullptr || child->ownBlock.get() != child->block) {
            throw ca::Exception(ca::kAsn1BadTag);  // the block already belongs to another tree
        }
        child->_SetParenObject(this);
    }
}

void CAsn1Object::_DetachInnerObject(CAsn1Object* child, bool giveOwnership) {
    child->parentObject = nullptr;
    if (giveOwnership) {
        child->_SetSelfOwnObject();
    } else {
        child->block->isDetached = true;
    }
}

void CAsn1Object::_SetParenObject(CAsn1Object* parent) {
    if (ownBlock != nullptr && ownBlock.get() == block) {
        parent->block->innerBlocks.push_back(std::move(ownBlock));  // the parent's tree owns it now
    }
    block->parent = parent->block;
}

void CAsn1Object::_SetSelfOwnObject() {
    CAsn1Block* holder = block->parent;
    if (holder == nullptr) {
        return;  // already owned here, or a top-level block that its parser keeps
    }
    auto& siblings = holder->innerBlocks;
    const auto it = std::find_if(siblings.begin(), siblings.end(),
                                 [this](const std::unique_ptr<CAsn1Block>& b) { return b.get() == block; });
    if (it == siblings.end()) {
        return;
    }
    ownBlock = std::move(*it);
    siblings.erase(it);
    block->parent = nullptr;
    block->isDetached = false;
}

void CAsn1Object::_Encode() {}

uint32_t CAsn1Object::GetAsn1DataLength() { return block->GetTotalLength(true); }

void CAsn1Object::GetAsn1Data(unsigned char* out) {
    size_t position = 0;
    block->GetAsn1Data(out, &position);
}

std::vector<uint8_t> CAsn1Object::GetAsn1Data() {
    std::vector<uint8_t> out(GetAsn1DataLength());
    size_t position = 0;
    block->GetAsn1Data(out.data(), out.size(), &position);
    return out;
}

void CAsn1Object::SetChanged(bool isChanged) {
    changed = isChanged;
    if (isChanged) {
        for (CAsn1Object* up = parentObject; up != nullptr; up = up->parentObject) {
            up->changed = true;
        }
    }
}

std::wstring CAsn1Object::GetRawData(bool contentOnly) const {
    if (contentOnly) {
        const size_t n = block->ReadableLength();
        return ca::u8u16(ca::Base64Encode(block->data, static_cast<uint32_t>(n)));
    }
    const std::vector<uint8_t> bytes = GetEncoding();
    return ca::u8u16(ca::Base64Encode(bytes.data(), static_cast<uint32_t>(bytes.size())));
}

std::vector<uint8_t> CAsn1Object::GetEncoding() const {
    if (block->start != nullptr && block->limit != nullptr && block->start <= block->limit) {
        const size_t n =
            std::min<size_t>(block->totalLength, static_cast<size_t>(block->limit - block->start));
        return {block->start, block->start + n};
    }
    // A block built here has no parsed bytes: its current encoding stands in.
    std::vector<uint8_t> bytes(block->GetTotalLength(true));
    size_t position = 0;
    block->GetAsn1Data(bytes.data(), bytes.size(), &position);
    bytes.resize(position);
    return bytes;
}

ca::CByteReader CAsn1Object::Content() const { return ca::CByteReader(block->data, block->ReadableLength()); }

void CAsn1Object::_SetEncoded(ca::MallocPtr bytes, uint32_t size) {
    encoded.data = std::move(bytes);
    encoded.size = size;
    block->SetContent(encoded.data.get(), size);
}
