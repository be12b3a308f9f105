#pragma once

// CMS signed data (RFC 5652) and the signed and unsigned attributes of CAdES signatures (RFC 5126,
// RFC 5035) as structure classes: enough to walk a detached or attached signature, its certificates
// and, per signer, its identifier, algorithms and attributes.
#include <string>

#include "asn1/Asn1Constructed.h"
#include "asn1/X509.h"

// Attribute type OIDs the records and tools look for.
inline constexpr wchar_t kOidContentType[] = L"1.2.840.113549.1.9.3";
inline constexpr wchar_t kOidMessageDigest[] = L"1.2.840.113549.1.9.4";
inline constexpr wchar_t kOidSigningTime[] = L"1.2.840.113549.1.9.5";
inline constexpr wchar_t kOidCounterSignature[] = L"1.2.840.113549.1.9.6";
inline constexpr wchar_t kOidTimeStampToken[] = L"1.2.840.113549.1.9.16.2.14";
inline constexpr wchar_t kOidSignedData[] = L"1.2.840.113549.1.7.2";

// CAsn1AttributeValue is the base of the attribute values: one element of the values SET, kept
// undecoded by the base (the class for an OID outside the table).
class CAsn1AttributeValue : public CAsn1Object {
public:
    using CAsn1Object::CAsn1Object;
    // GetFormattedString of the base: hexadecimal of the value's whole encoding.
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1AttributeValueOf<T> is a value that is one T over the value's block.
template <class T>
class CAsn1AttributeValueOf : public CAsn1AttributeValue {
public:
    CAsn1AttributeValueOf(CAsn1Block* inBlock, CAsn1Object* parent)
        : CAsn1AttributeValue(inBlock, parent), held(std::make_unique<T>(inBlock, this)) {}
    void Decode() override { held->Decode(); }
    // GetFormattedString is the value's own text, or the hexadecimal of a structure that has none.
    std::wstring GetFormattedString(unsigned int flags) override {
        std::wstring text = held->GetFormattedString(flags);
        return text.empty() ? CAsn1AttributeValue::GetFormattedString(flags) : text;
    }

    std::unique_ptr<T> held;
};

class CAsn1SignerInfo;
class CAsn1SignedPKCS7;

using CAsn1AttributeValueContentType = CAsn1AttributeValueOf<CAsn1ObjectIdentifier>;
using CAsn1AttributeValueMessageDigest = CAsn1AttributeValueOf<CAsn1OctetString>;
using CAsn1AttributeValueUTCTime = CAsn1AttributeValueOf<CAsn1CertificateTime>;
using CAsn1AttributeValueCounterSignature = CAsn1AttributeValueOf<CAsn1SignerInfo>;
using CAsn1AttributeValueCertValues = CAsn1AttributeValueOf<CAsn1SequenceOf<CAsn1Certificate>>;
using CAsn1AttributeValueTimeStampToken = CAsn1AttributeValueOf<CAsn1SignedPKCS7>;

// CAsn1AttributeValueData: the data attribute (1.2.840.113549.1.7.1), kept raw.
class CAsn1AttributeValueData : public CAsn1AttributeValue {
public:
    using CAsn1AttributeValue::CAsn1AttributeValue;
};

// CAsn1IssuerSerialESS: ESS IssuerSerial ::= SEQUENCE { issuer GeneralNames, serialNumber INTEGER }.
class CAsn1IssuerSerialESS : public CAsn1IssuerSerial {
public:
    using CAsn1IssuerSerial::CAsn1IssuerSerial;
};

// CAsn1EssCertIdV2: ESSCertIDv2 ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier DEFAULT sha256,
// certHash OCTET STRING, issuerSerial IssuerSerial OPTIONAL }.
class CAsn1EssCertIdV2 : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1AlgorithmIdentifier* hashAlgorithm = nullptr;
    CAsn1OctetString* certHash = nullptr;
    CAsn1IssuerSerialESS* issuerSerial = nullptr;
};

// CAsn1SigningCertificateV2: SEQUENCE { certs SEQUENCE OF ESSCertIDv2, policies SEQUENCE OPTIONAL }.
class CAsn1SigningCertificateV2 : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1SequenceOf<CAsn1EssCertIdV2>* certs = nullptr;
    CAsn1Sequence* policies = nullptr;
};
using CAsn1AttributeValueSigningCertificateV2 = CAsn1AttributeValueOf<CAsn1SigningCertificateV2>;

// CAsn1Attribute: Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF ANY }; each
// value is made by the class chosen from attrType.
class CAsn1Attribute : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetOidString is attrType's dotted OID.
    std::wstring GetOidString() const;
    // GetValue is the value at index, or nullptr.
    CAsn1AttributeValue* GetValue(size_t index) const;
    size_t GetValueCount() const;

    CAsn1ObjectIdentifier* type = nullptr;
    CAsn1Set* values = nullptr;
};

// CAsn1Attributes: SET OF Attribute, in encoding order (signed attributes are hashed in the order
// held: callers that build them add them in that order).
class CAsn1Attributes : public CAsn1SetOf<CAsn1Attribute> {
public:
    using CAsn1SetOf<CAsn1Attribute>::CAsn1SetOf;
    // GetAttribute is the first attribute whose type is exactly oid, or nullptr.
    CAsn1Attribute* GetAttribute(const wchar_t* oid) const;
};

// CAsn1IssuerAndSerial: IssuerAndSerialNumber ::= SEQUENCE { issuer Name, serialNumber INTEGER }.
class CAsn1IssuerAndSerial : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetCertId is the same identity text as CAsn1TBSCertificate::GetCertId.
    std::wstring GetCertId(unsigned int flags) const;

    CAsn1DistinguishedName* issuer = nullptr;
    CAsn1Serial* serialNumber = nullptr;
};

// CAsn1SignerInfo: SignerInfo (RFC 5652 5.3) in member order. The signer is identified by issuer and
// serial (sid), or in version 3 by a [0] subject key identifier (subjectKeyId).
class CAsn1SignerInfo : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetCertId is sid's identity text ("" for a key-identifier signer).
    std::wstring GetCertId(unsigned int flags) const;

    CAsn1Integer* version = nullptr;
    CAsn1IssuerAndSerial* sid = nullptr;
    CAsn1OctetString* subjectKeyId = nullptr;
    CAsn1AlgorithmIdentifier* digestAlgorithm = nullptr;
    CAsn1Attributes* signedAttrs = nullptr;  // [0] IMPLICIT, optional
    CAsn1AlgorithmIdentifier* signatureAlgorithm = nullptr;
    CAsn1OctetString* signature = nullptr;
    CAsn1Attributes* unsignedAttrs = nullptr;  // [1] IMPLICIT, optional
};

// CAsn1EncapContentInfo: SEQUENCE { eContentType OBJECT IDENTIFIER, eContent [0] EXPLICIT OCTET
// STRING OPTIONAL }; no eContent: a detached signature. The content may be a constructed (BER) OCTET
// STRING.
class CAsn1EncapContentInfo : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1ObjectIdentifier* eContentType = nullptr;
    CAsn1Explicit<CAsn1Object>* eContent = nullptr;
};

// CAsn1SignedPKCS7Content: SignedData (RFC 5652 5.1) in member order.
class CAsn1SignedPKCS7Content : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // FindCertificate is the carried certificate whose GetCertId(flags) is certId, or nullptr.
    CAsn1Certificate* FindCertificate(const std::wstring& certId, unsigned int flags) const;

    CAsn1Integer* version = nullptr;
    CAsn1SetOf<CAsn1AlgorithmIdentifier>* digestAlgorithms = nullptr;
    CAsn1EncapContentInfo* encapContentInfo = nullptr;
    CAsn1SetOf<CAsn1CertificateChoice>* certificates = nullptr;  // [0] IMPLICIT, optional
    CAsn1SetOf<CAsn1OtherRevocationInfo>* crls = nullptr;        // [1] IMPLICIT, optional
    CAsn1SetOf<CAsn1SignerInfo>* signerInfos = nullptr;
};

// CAsn1PKCS7Message: ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT
// ANY OPTIONAL }, the content kept generic.
class CAsn1PKCS7Message : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1ObjectIdentifier* contentType = nullptr;
    CAsn1Explicit<CAsn1Object>* content = nullptr;
};

// CAsn1SignedPKCS7: a ContentInfo holding SignedData. The [0] content is mandatory: without it the
// failure 0x8009310B is logged and raised.
class CAsn1SignedPKCS7 : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // SignedData is the content, or nullptr before decoding.
    CAsn1SignedPKCS7Content* SignedData() const { return content != nullptr ? content->inner : nullptr; }

    CAsn1ObjectIdentifier* contentType = nullptr;
    CAsn1Explicit<CAsn1SignedPKCS7Content>* content = nullptr;
};

// CAsn1Recipient: KeyTransRecipientInfo ::= SEQUENCE { version, rid, keyEncryptionAlgorithm,
// encryptedKey } of enveloped data, the recipient identifier kept generic.
class CAsn1Recipient : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1Integer* version = nullptr;
    CAsn1Object* rid = nullptr;
    CAsn1AlgorithmIdentifier* keyEncryptionAlgorithm = nullptr;
    CAsn1OctetString* encryptedKey = nullptr;
};
