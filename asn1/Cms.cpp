#include "asn1/Cms.h"

#include <cwchar>

namespace {

using AttributeValueMaker = std::unique_ptr<CAsn1AttributeValue> (*)(CAsn1Block*, CAsn1Object*);

template <class T>
std::unique_ptr<CAsn1AttributeValue> MakeValue(CAsn1Block* inBlock, CAsn1Object* parent) {
    return std::make_unique<T>(inBlock, parent);
}

// SAttributeRow ties an attribute type to its value class.
struct SAttributeRow {
    const wchar_t* oid;
    AttributeValueMaker make;
};

constexpr SAttributeRow kAttributeRows[] = {
    {kOidContentType, &MakeValue<CAsn1AttributeValueContentType>},
    {kOidMessageDigest, &MakeValue<CAsn1AttributeValueMessageDigest>},
    {kOidSigningTime, &MakeValue<CAsn1AttributeValueUTCTime>},
    {L"1.2.840.113549.1.7.1", &MakeValue<CAsn1AttributeValueData>},
    {kOidCounterSignature, &MakeValue<CAsn1AttributeValueCounterSignature>},
    {L"1.2.840.113549.1.9.16.2.23", &MakeValue<CAsn1AttributeValueCertValues>},
    {kOidTimeStampToken, &MakeValue<CAsn1AttributeValueTimeStampToken>},
    {L"1.2.840.113549.1.9.16.2.47", &MakeValue<CAsn1AttributeValueSigningCertificateV2>},
};

// CAttributeValues is the values SET of one attribute, each value made by the class of the type.
class CAttributeValues : public CAsn1Set {
public:
    CAttributeValues(CAsn1Block* inBlock, CAsn1Object* parent, AttributeValueMaker inMake)
        : CAsn1Set(inBlock, parent), _make(inMake) {}
    void CreateDecodeObjects() override {
        for (size_t i = 0; i < block->GetInnerBlockCount(); ++i) {
            CAsn1Block* child = block->GetInnerBlock(i);
            _AddNew(_make != nullptr ? _make(child, this)
                                     : std::make_unique<CAsn1AttributeValue>(child, this));
            ++readIndex;
        }
    }

private:
    AttributeValueMaker _make;
};

}  // namespace

std::wstring CAsn1AttributeValue::GetFormattedString(unsigned int /*flags*/) {
    const std::vector<uint8_t> encoding = GetEncoding();
    return GetHexString(kHexUpper, encoding.data(), encoding.size());
}

void CAsn1EssCertIdV2::CreateDecodeObjects() {
    if (_NextTagIs(CAsn1Sequence::kTag)) {  // the hash algorithm, when not the default
        hashAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    }
    certHash = AppendT<CAsn1OctetString>(false);
    issuerSerial = AppendT<CAsn1IssuerSerialESS>(true);
}

void CAsn1SigningCertificateV2::CreateDecodeObjects() {
    certs = AppendT<CAsn1SequenceOf<CAsn1EssCertIdV2>>(false);
    policies = AppendT<CAsn1Sequence>(true);
}

void CAsn1Attribute::CreateDecodeObjects() {
    type = AppendT<CAsn1ObjectIdentifier>(false);
    type->Decode();  // the values' class depends on it
    AttributeValueMaker make = nullptr;
    for (const SAttributeRow& row : kAttributeRows) {
        if (type->oid == row.oid) {
            make = row.make;
        }
    }
    CAsn1Block* valuesBlock = block->GetInnerBlock(static_cast<size_t>(readIndex));
    if (valuesBlock == nullptr) {
        ca::RaiseAt({kAsn1TemplateUnit, 537}, ca::kAsn1BadTag);
    }
    try {
        values = _AddNew(std::make_unique<CAttributeValues>(valuesBlock, this, make));
    } catch (const ca::Exception& e) {
        ca::LogError(ca::GetLineString(kAsn1TemplateUnit, 537).c_str(), L"", e.code, false);
        throw;
    }
    ++readIndex;
}

std::wstring CAsn1Attribute::GetOidString() const { return type != nullptr ? type->oid : std::wstring(); }

CAsn1AttributeValue* CAsn1Attribute::GetValue(size_t index) const {
    return values != nullptr && index < values->innerObjects.size()
               ? static_cast<CAsn1AttributeValue*>(values->innerObjects[index])
               : nullptr;
}

size_t CAsn1Attribute::GetValueCount() const { return values != nullptr ? values->innerObjects.size() : 0; }

CAsn1Attribute* CAsn1Attributes::GetAttribute(const wchar_t* oid) const {
    for (CAsn1Attribute* attribute : innerObjects) {
        if (attribute->type != nullptr && attribute->type->oid == oid) {
            return attribute;
        }
    }
    return nullptr;
}

void CAsn1IssuerAndSerial::CreateDecodeObjects() {
    issuer = AppendT<CAsn1DistinguishedName>(false);
    serialNumber = AppendT<CAsn1Serial>(false);
}

std::wstring CAsn1IssuerAndSerial::GetCertId(unsigned int flags) const {
    return serialNumber->GetHexString(flags) + issuer->GetFormattedString(flags);
}

void CAsn1SignerInfo::CreateDecodeObjects() {
    version = AppendT<CAsn1Integer>(false);
    if (_NextTagIs(0x80)) {
        subjectKeyId = AppendT<CAsn1OctetString>(false);
    } else {
        sid = AppendT<CAsn1IssuerAndSerial>(false);
    }
    digestAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    // By whole identifier from here on: a key-identifier sid is a [0] too.
    signedAttrs = _appendByTagT<CAsn1Attributes>(0xA0, static_cast<size_t>(readIndex));
    signatureAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    signature = AppendT<CAsn1OctetString>(false);
    unsignedAttrs = _appendByTagT<CAsn1Attributes>(0xA1, static_cast<size_t>(readIndex));
}

std::wstring CAsn1SignerInfo::GetCertId(unsigned int flags) const {
    return sid != nullptr ? sid->GetCertId(flags) : std::wstring();
}

void CAsn1EncapContentInfo::CreateDecodeObjects() {
    eContentType = AppendT<CAsn1ObjectIdentifier>(false);
    eContent = AppendExplicitT<CAsn1Object>(0, true);
}

void CAsn1SignedPKCS7Content::CreateDecodeObjects() {
    version = AppendT<CAsn1Integer>(false);
    digestAlgorithms = AppendT<CAsn1SetOf<CAsn1AlgorithmIdentifier>>(false);
    encapContentInfo = AppendT<CAsn1EncapContentInfo>(false);
    certificates = _appendSpecificT<CAsn1SetOf<CAsn1CertificateChoice>>(0, true);
    crls = _appendSpecificT<CAsn1SetOf<CAsn1OtherRevocationInfo>>(1, true);
    signerInfos = AppendT<CAsn1SetOf<CAsn1SignerInfo>>(false);
}

CAsn1Certificate* CAsn1SignedPKCS7Content::FindCertificate(const std::wstring& certId,
                                                           unsigned int flags) const {
    if (certificates == nullptr) {
        return nullptr;
    }
    for (CAsn1CertificateChoice* choice : certificates->innerObjects) {
        CAsn1Certificate* certificate = choice->GetChosen<CAsn1Certificate>();
        if (certificate != nullptr && certificate->tbsCertificate != nullptr &&
            certificate->GetCertId(flags) == certId) {
            return certificate;
        }
    }
    return nullptr;
}

void CAsn1PKCS7Message::CreateDecodeObjects() {
    contentType = AppendT<CAsn1ObjectIdentifier>(false);
    content = AppendExplicitT<CAsn1Object>(0, true);
}

void CAsn1SignedPKCS7::CreateDecodeObjects() {
    contentType = AppendT<CAsn1ObjectIdentifier>(false);
    content = AppendExplicitT<CAsn1SignedPKCS7Content>(0, false);
}

void CAsn1Recipient::CreateDecodeObjects() {
    version = AppendT<CAsn1Integer>(false);
    rid = AppendT<CAsn1Object>(false);
    keyEncryptionAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    encryptedKey = AppendT<CAsn1OctetString>(false);
}
