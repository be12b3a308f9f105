#include "asn1/Asn1Constructed.h"

#include <iterator>

namespace {

template <class T>
std::unique_ptr<CAsn1Object> Make(CAsn1Block* inBlock, CAsn1Object* parent) {
    return std::make_unique<T>(inBlock, parent);
}

struct SClassRow {
    uint8_t tag;
    std::unique_ptr<CAsn1Object> (*make)(CAsn1Block*, CAsn1Object*);
};

// The identifier octet -> class table of CreatePrimitiveObject, in ascending tag order.
constexpr SClassRow kClassTable[] = {
    {CAsn1Boolean::kTag, &Make<CAsn1Boolean>},
    {CAsn1Integer::kTag, &Make<CAsn1Integer>},
    {CAsn1BitString::kTag, &Make<CAsn1BitString>},
    {CAsn1OctetString::kTag, &Make<CAsn1OctetString>},
    {CAsn1Null::kTag, &Make<CAsn1Null>},
    {CAsn1ObjectIdentifier::kTag, &Make<CAsn1ObjectIdentifier>},
    {CAsn1UTF8String::kTag, &Make<CAsn1UTF8String>},
    {CAsn1NumericString::kTag, &Make<CAsn1NumericString>},
    {CAsn1PrintableString::kTag, &Make<CAsn1PrintableString>},
    {CAsn1TeletexString::kTag, &Make<CAsn1TeletexString>},
    {CAsn1IA5String::kTag, &Make<CAsn1IA5String>},
    {CAsn1UTCTime::kTag, &Make<CAsn1UTCTime>},
    {CAsn1GeneralizedTime::kTag, &Make<CAsn1GeneralizedTime>},
    {CAsn1UnicodeString::kTag, &Make<CAsn1UnicodeString>},
    {CAsn1ContructedOctetString::kTag, &Make<CAsn1ContructedOctetString>},
    {CAsn1Sequence::kTag, &Make<CAsn1Sequence>},
    {CAsn1Set::kTag, &Make<CAsn1Set>},
};

constexpr bool IsAscending() {
    for (size_t i = 1; i < std::size(kClassTable); ++i) {
        if (kClassTable[i - 1].tag >= kClassTable[i].tag) {
            return false;
        }
    }
    return true;
}
static_assert(IsAscending() && std::size(kClassTable) == 17 && kClassTable[16].tag == 0x31);

}  // namespace

std::unique_ptr<CAsn1Object> CreatePrimitiveObject(CAsn1Block* inBlock, CAsn1Object* parent) {
    if (inBlock == nullptr) {
        return nullptr;
    }
    for (const SClassRow& row : kClassTable) {
        if (row.tag == inBlock->tag) {
            return row.make(inBlock, parent);
        }
    }
    return std::make_unique<CAsn1Unknown>(inBlock, parent);
}

void CAsn1AlgorithmIdentifier::CreateDecodeObjects() {
    algorithm = AppendT<CAsn1ObjectIdentifier>(false);
    parameters = AppendT<CAsn1Object>(true);
}

std::wstring CAsn1AlgorithmIdentifier::GetOidString() const {
    return algorithm != nullptr ? algorithm->oid : std::wstring();
}
