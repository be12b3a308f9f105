#include "asn1/X509.h"

#include <iterator>

#include "asn1/X509Extensions.h"

namespace {

// SHashRow ties a signature or public-key algorithm to the hash that goes with it.
struct SHashRow {
    const wchar_t* algorithm;
    const wchar_t* hash;
};

// Compared in this order, exactly; RSA maps to SHA-1 whatever the signature's own hash.
constexpr SHashRow kHashRows[] = {
    {L"1.2.840.113549.1.1.5", L"1.3.14.3.2.26"},
    {L"1.2.840.113549.1.1.1", L"1.3.14.3.2.26"},
    {L"1.2.643.2.2.3", L"1.2.643.2.2.9"},
    {L"1.2.643.2.2.19", L"1.2.643.2.2.9"},
    {L"1.2.643.7.1.1.3.2", L"1.2.643.7.1.1.2.2"},
    {L"1.2.643.7.1.1.1.1", L"1.2.643.7.1.1.2.2"},
    {L"1.2.643.7.1.1.3.3", L"1.2.643.7.1.1.2.3"},
    {L"1.2.643.7.1.1.1.2", L"1.2.643.7.1.1.2.3"},
    {L"1.2.112.0.2.0.34.101.45.12", L"1.2.112.0.2.0.34.101.31.81"},
    {L"1.2.112.0.2.0.1176.2.12", L"1.2.112.0.2.0.34.101.31.81"},
    {L"1.2.112.0.2.0.34.101.45.2.1", L"1.2.112.0.2.0.34.101.31.81"},
    {L"1.3.6.1.4.1.12656.1.37", L"1.2.112.0.2.0.34.101.31.81"},
};

// SKeySize ties a key algorithm or named curve to its size in bits.
struct SKeySize {
    const wchar_t* oid;
    uint32_t bits;
};

constexpr SKeySize kKeySizes[] = {
    {L"1.2.840.10045.3.1.7", 256},   // prime256v1
    {L"1.3.132.0.34", 384},          // secp384r1
    {L"1.3.132.0.35", 521},          // secp521r1
    {L"1.3.132.0.10", 256},          // secp256k1
    {L"1.3.36.3.3.2.8.1.1.7", 256},  // brainpoolP256r1
    {L"1.3.36.3.3.2.8.1.1.11", 384}, {L"1.3.36.3.3.2.8.1.1.13", 512}, {L"1.3.101.110", 256},  // X25519
    {L"1.3.101.111", 448},                                                                    // X448
    {L"1.3.101.112", 256},                                                                    // Ed25519
    {L"1.3.101.113", 456},                                                                    // Ed448
};

constexpr wchar_t kOidRsaEncryption[] = L"1.2.840.113549.1.1.1";

bool IsTimeTag(uint32_t tag) { return tag == CAsn1UTCTime::kTag || tag == CAsn1GeneralizedTime::kTag; }

// FirstDirectoryName is the first directory name among names, or nullptr.
CAsn1DistinguishedName* FirstDirectoryName(const CAsn1GeneralNames* names) {
    if (names == nullptr) {
        return nullptr;
    }
    for (CAsn1GeneralName* name : names->innerObjects) {
        if (CAsn1DistinguishedName* directory = name != nullptr ? name->GetDirectoryName() : nullptr) {
            return directory;
        }
    }
    return nullptr;
}

}  // namespace

std::wstring GetHashAlgOid(const std::wstring& algorithmOid) {
    for (const SHashRow& row : kHashRows) {
        if (algorithmOid == row.algorithm) {
            return row.hash;
        }
    }
    return {};
}

CAsn1CertificateTime::CAsn1CertificateTime(CAsn1Block* inBlock, CAsn1Object* parent)
    : CAsn1Time(inBlock, inBlock != nullptr && IsTimeTag(inBlock->tag) ? inBlock->tag : CAsn1UTCTime::kTag,
                parent) {
    if (!IsTimeTag(block->tag)) {
        throw ca::Exception(ca::kAsn1BadTag);
    }
    generalized = block->tag == CAsn1GeneralizedTime::kTag;
}

CAsn1CertificateTime::CAsn1CertificateTime(unsigned char inTag) : CAsn1Time(inTag) {
    generalized = inTag == CAsn1GeneralizedTime::kTag;
}

std::string CAsn1CertificateTime::GetTagName() const { return generalized ? "GENERALIZED TIME" : "UTC TIME"; }

time_t CAsn1CertificateTime::GetTime() const {
    tm moment = timeValue;
    if (!generalized && moment.tm_year >= 150) {
        moment.tm_year -= 100;
    }
    moment.tm_isdst = 0;
    return timegm(&moment);
}

uint32_t CAsn1CertificateVersion::GetVersion() const {
    uint32_t number = 0;
    for (uint32_t i = 0; i < byteCount && i < 4; ++i) {
        number = number << 8 | bytes[i];
    }
    return number;
}

void CAsn1CertificateValidity::CreateDecodeObjects() {
    notBefore = AppendT<CAsn1CertificateTime>(false);
    notAfter = AppendT<CAsn1CertificateTime>(false);
}

void CAsn1RSAPublicKey::CreateDecodeObjects() {
    modulus = AppendT<CAsn1Integer>(false);
    publicExponent = AppendT<CAsn1Integer>(false);
}

uint32_t CAsn1RSAPublicKey::GetKeyLength() const {
    return modulus != nullptr && modulus->byteCount > 0 ? (modulus->byteCount - 1) * 8 : 0;
}

void CAsn1SubjectPublicKeyInfo::CreateDecodeObjects() {
    algorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    subjectPublicKey = AppendT<CAsn1BitString>(false);
}

void CAsn1SubjectPublicKeyInfo::ReadProperties() {
    rsaKey = nullptr;
    if (algorithm->GetOidString() != kOidRsaEncryption || subjectPublicKey->value.data == nullptr) {
        return;
    }
    // The key is opaque to the certificate: one that does not parse as RSAPublicKey is kept as bits.
    try {
        auto parser = std::make_unique<CCryptAsn1Parser>();
        parser->Parse(subjectPublicKey->value.data.get(), subjectPublicKey->value.size, true);
        auto key = std::make_unique<CAsn1RSAPublicKey>(parser->GetInnerBlock(0), this);
        key->Decode();
        _keyParser = std::move(parser);
        _rsaKey = std::move(key);
        rsaKey = _rsaKey.get();
    } catch (const ca::Exception&) {
        rsaKey = nullptr;
    }
}

uint32_t CAsn1SubjectPublicKeyInfo::GetKeyLength() const {
    if (rsaKey != nullptr) {
        return rsaKey->GetKeyLength();
    }
    if (algorithm == nullptr) {
        return 0;
    }
    // An EC key names its curve in the parameters; the EdDSA and XDH keys are their own algorithm.
    const auto* curve = dynamic_cast<const CAsn1ObjectIdentifier*>(algorithm->parameters);
    const std::wstring oid = curve != nullptr ? curve->oid : algorithm->GetOidString();
    for (const SKeySize& row : kKeySizes) {
        if (oid == row.oid) {
            return row.bits;
        }
    }
    return 0;
}

void CAsn1CertificateExtension::CreateDecodeObjects() {
    extnId = AppendT<CAsn1ObjectIdentifier>(false);
    extnId->Decode();  // the value's class depends on it
    critical = AppendT<CAsn1Boolean>(true);
    CAsn1Block* valueBlock = block->GetInnerBlock(static_cast<size_t>(readIndex));
    if (valueBlock == nullptr) {
        ca::RaiseAt({kAsn1TemplateUnit, 537}, ca::kAsn1BadTag);
    }
    try {
        extnValue = _AddNew(CAsn1CertificateExtensionValue::Make(extnId->oid, valueBlock, this));
    } catch (const ca::Exception& e) {
        ca::LogError(ca::GetLineString(kAsn1TemplateUnit, 537).c_str(), L"", e.code, false);
        throw;
    }
    ++readIndex;
}

bool CAsn1CertificateExtension::IsCritical() const { return critical != nullptr && critical->boolValue; }

std::wstring CAsn1CertificateExtension::GetOidString() const {
    return extnId != nullptr ? extnId->oid : std::wstring();
}

CAsn1CertificateExtension* CAsn1CertificateExtensionCollection::Find(const std::wstring& oid) const {
    for (CAsn1CertificateExtension* extension : innerObjects) {
        if (extension->GetOidString() == oid) {
            return extension;
        }
    }
    return nullptr;
}

void CAsn1TBSCertificate::CreateDecodeObjects() {
    version = AppendExplicitT<CAsn1CertificateVersion>(0, true);
    serialNumber = AppendT<CAsn1Serial>(false);
    signature = AppendT<CAsn1AlgorithmIdentifier>(false);
    issuer = AppendT<CAsn1DistinguishedName>(false);
    validity = AppendT<CAsn1CertificateValidity>(false);
    subject = AppendT<CAsn1DistinguishedName>(false);
    subjectPublicKeyInfo = AppendT<CAsn1SubjectPublicKeyInfo>(false);
    issuerUniqueId = _appendSpecificT<CAsn1BitString>(1, true);
    subjectUniqueId = _appendSpecificT<CAsn1BitString>(2, true);
    extensions = AppendExplicitT<CAsn1CertificateExtensionCollection>(3, true);
}

std::wstring CAsn1TBSCertificate::GetCertId(unsigned int flags) const {
    return serialNumber->GetHexString(flags) + issuer->GetFormattedString(flags);
}

std::wstring CAsn1TBSCertificate::GetHashAlgOidFromSignAlg() const {
    return GetHashAlgOid(signature->GetOidString());
}

std::wstring CAsn1TBSCertificate::GetHashAlgOidFromPubKeyAlg() const {
    return GetHashAlgOid(subjectPublicKeyInfo->algorithm->GetOidString());
}

uint32_t CAsn1TBSCertificate::GetVersion() const {
    return version != nullptr && version->inner != nullptr ? version->inner->GetVersion() : 0;
}

void CAsn1Certificate::CreateDecodeObjects() {
    tbsCertificate = AppendT<CAsn1TBSCertificate>(false);
    signatureAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    signatureValue = AppendT<CAsn1BitString>(false);
}

void CAsn1RevokedCertificate::CreateDecodeObjects() {
    userCertificate = AppendT<CAsn1Serial>(false);
    revocationDate = AppendT<CAsn1CertificateTime>(false);
    crlEntryExtensions = AppendT<CAsn1CertificateExtensionCollection>(true);
}

void CAsn1TBSCertList::CreateDecodeObjects() {
    version = AppendT<CAsn1Integer>(true);
    signature = AppendT<CAsn1AlgorithmIdentifier>(false);
    issuer = AppendT<CAsn1DistinguishedName>(false);
    thisUpdate = AppendT<CAsn1CertificateTime>(false);
    nextUpdate = AppendT<CAsn1CertificateTime>(true);
    if (_NextTagIs(CAsn1Sequence::kTag)) {  // not the [0] extensions in its place
        revokedCertificates = AppendT<CAsn1SequenceOf<CAsn1RevokedCertificate>>(false);
    }
    crlExtensions = AppendExplicitT<CAsn1CertificateExtensionCollection>(0, true);
}

void CAsn1CRL::CreateDecodeObjects() {
    tbsCertList = AppendT<CAsn1TBSCertList>(false);
    signatureAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    signatureValue = AppendT<CAsn1BitString>(false);
}

void CAsn1IssuerSerial::CreateDecodeObjects() {
    issuer = AppendT<CAsn1GeneralNames>(false);
    serial = AppendT<CAsn1Serial>(false);
    issuerUid = AppendT<CAsn1BitString>(true);
}

std::wstring CAsn1IssuerSerial::GetCertId(unsigned int flags) const {
    CAsn1DistinguishedName* name = FirstDirectoryName(issuer);
    return serial->GetHexString(flags) + (name != nullptr ? name->GetFormattedString(flags) : std::wstring());
}

void CAsn1ObjectDigestInfo::CreateDecodeObjects() {
    digestedObjectType = AppendT<CAsn1Object>(false);
    otherObjectTypeId = AppendT<CAsn1ObjectIdentifier>(true);
    digestAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    objectDigest = AppendT<CAsn1BitString>(false);
}

void CAsn1Holder::CreateDecodeObjects() {
    baseCertificateId = _appendSpecificT<CAsn1IssuerSerial>(0, true);
    entityName = _appendSpecificT<CAsn1GeneralNames>(1, true);
    objectDigestInfo = _appendSpecificT<CAsn1ObjectDigestInfo>(2, true);
}

void CAsn1V2Form::CreateDecodeObjects() {
    if (_NextTagIs(CAsn1Sequence::kTag)) {  // not the [0] base certificate id in its place
        issuerName = AppendT<CAsn1GeneralNames>(false);
    }
    baseCertificateId = _appendSpecificT<CAsn1IssuerSerial>(0, true);
    objectDigestInfo = _appendSpecificT<CAsn1ObjectDigestInfo>(1, true);
}

CAsn1DistinguishedName* CAsn1V2Form::GetIssuerName() const { return FirstDirectoryName(issuerName); }

void CAsn1AttCertValidityPeriod::CreateDecodeObjects() {
    notBefore = AppendT<CAsn1CertificateTime>(false);
    notAfter = AppendT<CAsn1CertificateTime>(false);
}

void CAsn1GenericAttribute::CreateDecodeObjects() {
    type = AppendT<CAsn1ObjectIdentifier>(false);
    values = AppendT<CAsn1Set>(false);
}

void CAsn1AttributeCertificateInfo::CreateDecodeObjects() {
    version = AppendT<CAsn1SyntaxVersion>(true);
    holder = AppendT<CAsn1Holder>(false);
    // The issuer: [0] V2Form, or the old bare GeneralNames.
    if (_NextTagIs(0xA0)) {
        v2Form = AppendT<CAsn1V2Form>(false);
    } else {
        v1Issuer = AppendT<CAsn1GeneralNames>(false);
    }
    signature = AppendT<CAsn1AlgorithmIdentifier>(false);
    serialNumber = AppendT<CAsn1Serial>(false);
    validity = AppendT<CAsn1AttCertValidityPeriod>(false);
    attributes = AppendT<CAsn1SequenceOf<CAsn1GenericAttribute>>(false);
    issuerUniqueId = AppendT<CAsn1BitString>(true);
    extensions = AppendT<CAsn1CertificateExtensionCollection>(true);
}

CAsn1DistinguishedName* CAsn1AttributeCertificateInfo::GetIssuerName() const {
    return v2Form != nullptr ? v2Form->GetIssuerName() : FirstDirectoryName(v1Issuer);
}

void CAsn1AttributeCertificate::CreateDecodeObjects() {
    acinfo = AppendT<CAsn1AttributeCertificateInfo>(false);
    signatureAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    signatureValue = AppendT<CAsn1BitString>(false);
}

void CAsn1ExtendedCertificate::CreateDecodeObjects() {
    extendedCertificateInfo = AppendT<CAsn1Sequence>(false);
    signatureAlgorithm = AppendT<CAsn1AlgorithmIdentifier>(false);
    signature = AppendT<CAsn1BitString>(false);
}

void CAsn1OtherRevocationInfoFormat::CreateDecodeObjects() {
    format = AppendT<CAsn1ObjectIdentifier>(false);
    info = AppendT<CAsn1Object>(false);
}
