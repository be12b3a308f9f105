#pragma once

// The structure templates every structure class is declared with (CAsn1Sequence +
// CreateDecodeObjects), choices and explicit tags, the tag -> class factory, and
// CAsn1AlgorithmIdentifier.
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "asn1/Asn1Primitives.h"
#include "asn1/CryptAsn1Base.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "base/Log.h"

// The source unit that failures of the templates below log: the name the log lines have always
// carried, kept although the templates moved to this header.
constexpr const char* kAsn1TemplateUnit = "CryptAsn1Base.h";

// CreatePrimitiveObject picks the class for the block's identifier octet (table in the .cpp; any
// other identifier, and every context or application tag, gives CAsn1Unknown). nullptr for no block.
std::unique_ptr<CAsn1Object> CreatePrimitiveObject(CAsn1Block* inBlock, CAsn1Object* parent);

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
                    ca::LogError(ca::GetLineString(kAsn1TemplateUnit, 451).c_str(), L"", ca::kAsn1BadTag,
                                 false);
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
                ca::RaiseAt({kAsn1TemplateUnit, 537}, ca::kAsn1BadTag);
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
            ca::LogError(ca::GetLineString(kAsn1TemplateUnit, 537).c_str(), L"", e.code, false);
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
                ca::RaiseAt({kAsn1TemplateUnit, 606}, ca::kAsn1BadTag);
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

    // _appendByTagT makes the first child at or after startIndex whose identifier octet is exactly
    // inTag a U member; nullptr when there is none. For members whose context number alone is
    // ambiguous ([1] and [APPLICATION 1], or a [0] that appears twice in one structure).
    template <class U>
    U* _appendByTagT(uint8_t inTag, size_t startIndex = 0) {
        CAsn1Block* child = block->GetBlockByTag(inTag, startIndex);
        if (child == nullptr) {
            return nullptr;
        }
        U* member = _AddNew(_Make<U>(child));
        ++readIndex;
        return member;
    }

    // _NextTagIs: the child at readIndex has identifier inTag. An optional universal member followed by
    // context-tagged ones checks first, since a context block would be taken in its place.
    bool _NextTagIs(uint8_t inTag) const {
        const CAsn1Block* child =
            readIndex < 0 ? nullptr : block->GetInnerBlock(static_cast<size_t>(readIndex));
        return child != nullptr && child->tag == inTag;
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
            ca::RaiseAt({kAsn1TemplateUnit, 737}, ca::kAsn1BadTag);
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
