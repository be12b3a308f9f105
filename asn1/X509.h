#pragma once

// X.509 certificates, certificate revocation lists and attribute certificates (RFC 5280, RFC 5755) as
// structure classes, with the accessors the records read. The extension value classes are in
// asn1/X509Extensions.h.
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include "asn1/Asn1Constructed.h"
#include "asn1/GeneralName.h"
#include "asn1/X500Name.h"

class CAsn1CertificateExtensionValue;

// GetHashAlgOid is the dotted OID of the hash that goes with a signature or public-key algorithm
// OID, by exact comparison against a fixed table (RSA always maps to SHA-1); "" outside the table.
std::wstring GetHashAlgOid(const std::wstring& algorithmOid);

// CAsn1CertificateTime: Time ::= CHOICE { UTCTime, GeneralizedTime } as one class that takes either
// identifier (and nothing else: not even a context tag, so that an absent optional time leaves the
// next tagged member alone).
class CAsn1CertificateTime : public CAsn1Time {
public:
    CAsn1CertificateTime(CAsn1Block* inBlock, CAsn1Object* parent = nullptr);
    explicit CAsn1CertificateTime(unsigned char inTag = CAsn1UTCTime::kTag);
    std::string GetTagName() const override;
    // GetTime is the moment as seconds since the epoch, a UTCTime year from 2050 on read as 19xx
    // (the RFC 5280 window: the object itself keeps every UTCTime in 20xx).
    time_t GetTime() const;
};

// CAsn1CertificateVersion: Version ::= INTEGER { v1(0), v2(1), v3(2) }; GetVersion is 0 for v1.
class CAsn1CertificateVersion : public CAsn1Integer {
public:
    using CAsn1Integer::CAsn1Integer;
    uint32_t GetVersion() const;
};

// CAsn1Serial: CertificateSerialNumber ::= INTEGER.
class CAsn1Serial : public CAsn1Integer {
public:
    using CAsn1Integer::CAsn1Integer;
};

// CAsn1CertificateValidity: Validity ::= SEQUENCE { notBefore Time, notAfter Time }.
class CAsn1CertificateValidity : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1CertificateTime* notBefore = nullptr;
    CAsn1CertificateTime* notAfter = nullptr;
};

// CAsn1RSAPublicKey: RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }.
class CAsn1RSAPublicKey : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetKeyLength is (modulus content bytes - 1) x 8. Deliberate: the leading zero octet of a
    // positive DER INTEGER is assumed, so a modulus written without it reports 8 bits too few.
    uint32_t GetKeyLength() const;

    CAsn1Integer* modulus = nullptr;
    CAsn1Integer* publicExponent = nullptr;
};

// CAsn1SubjectPublicKeyInfo: SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }.
// An RSA key (1.2.840.113549.1.1.1) is read on into rsaKey; a key that does not parse as one leaves
// rsaKey null.
class CAsn1SubjectPublicKeyInfo : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    void ReadProperties() override;
    // GetKeyLength is the RSA key's length in bits, the named curve's size for EC, 256 for Ed25519
    // and X25519, 456/448 for Ed448/X448; 0 when unknown.
    uint32_t GetKeyLength() const;

    CAsn1AlgorithmIdentifier* algorithm = nullptr;
    CAsn1BitString* subjectPublicKey = nullptr;
    CAsn1RSAPublicKey* rsaKey = nullptr;

private:
    // The RSA key's own parse over the bit string's bytes (which the bit string owns).
    std::unique_ptr<CCryptAsn1Parser> _keyParser;
    std::unique_ptr<CAsn1RSAPublicKey> _rsaKey;
};

// CAsn1CertificateExtension: Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN
// DEFAULT FALSE, extnValue OCTET STRING }; the value is made by the class registered for extnID
// (asn1/X509Extensions.h), the generic value class for any other OID.
class CAsn1CertificateExtension : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    bool IsCritical() const;
    std::wstring GetOidString() const;

    CAsn1ObjectIdentifier* extnId = nullptr;
    CAsn1Boolean* critical = nullptr;
    CAsn1CertificateExtensionValue* extnValue = nullptr;
};

// CAsn1CertificateExtensionCollection: Extensions ::= SEQUENCE OF Extension.
class CAsn1CertificateExtensionCollection : public CAsn1SequenceOf<CAsn1CertificateExtension> {
public:
    using CAsn1SequenceOf<CAsn1CertificateExtension>::CAsn1SequenceOf;
    // Find is the first extension with this dotted OID, or nullptr.
    CAsn1CertificateExtension* Find(const std::wstring& oid) const;
};

// CAsn1TBSCertificate: TBSCertificate (RFC 5280 4.1) in member order.
class CAsn1TBSCertificate : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetCertId is the identity text: the serial's GetHexString(flags), then the issuer's
    // GetFormattedString(flags), with no separator.
    std::wstring GetCertId(unsigned int flags) const;
    std::wstring GetHashAlgOidFromSignAlg() const;
    std::wstring GetHashAlgOidFromPubKeyAlg() const;
    // GetVersion: 0 for v1 (no version member), 1 for v2, 2 for v3.
    uint32_t GetVersion() const;

    CAsn1Explicit<CAsn1CertificateVersion>* version = nullptr;  // [0] EXPLICIT, absent for v1
    CAsn1Serial* serialNumber = nullptr;
    CAsn1AlgorithmIdentifier* signature = nullptr;
    CAsn1DistinguishedName* issuer = nullptr;
    CAsn1CertificateValidity* validity = nullptr;
    CAsn1DistinguishedName* subject = nullptr;
    CAsn1SubjectPublicKeyInfo* subjectPublicKeyInfo = nullptr;
    CAsn1BitString* issuerUniqueId = nullptr;                                  // [1] IMPLICIT
    CAsn1BitString* subjectUniqueId = nullptr;                                 // [2] IMPLICIT
    CAsn1Explicit<CAsn1CertificateExtensionCollection>* extensions = nullptr;  // [3] EXPLICIT
};

// CAsn1Certificate: Certificate ::= SEQUENCE { tbsCertificate, signatureAlgorithm, signatureValue }.
class CAsn1Certificate : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetCertId(unsigned int flags) const { return tbsCertificate->GetCertId(flags); }
    std::wstring GetHashAlgOid() const { return tbsCertificate->GetHashAlgOidFromSignAlg(); }

    CAsn1TBSCertificate* tbsCertificate = nullptr;
    CAsn1AlgorithmIdentifier* signatureAlgorithm = nullptr;
    CAsn1BitString* signatureValue = nullptr;
};

// CAsn1RevokedCertificate: SEQUENCE { userCertificate INTEGER, revocationDate Time,
// crlEntryExtensions Extensions OPTIONAL }.
class CAsn1RevokedCertificate : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1Serial* userCertificate = nullptr;
    CAsn1CertificateTime* revocationDate = nullptr;
    CAsn1CertificateExtensionCollection* crlEntryExtensions = nullptr;
};

// CAsn1TBSCertList: TBSCertList (RFC 5280 5.1) in member order.
class CAsn1TBSCertList : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetIssuer(unsigned int flags) const { return issuer->GetFormattedString(flags); }
    std::wstring GetHashAlgOid() const { return ::GetHashAlgOid(signature->GetOidString()); }

    CAsn1Integer* version = nullptr;  // optional, v2 = 1
    CAsn1AlgorithmIdentifier* signature = nullptr;
    CAsn1DistinguishedName* issuer = nullptr;
    CAsn1CertificateTime* thisUpdate = nullptr;
    CAsn1CertificateTime* nextUpdate = nullptr;                                   // optional
    CAsn1SequenceOf<CAsn1RevokedCertificate>* revokedCertificates = nullptr;      // optional
    CAsn1Explicit<CAsn1CertificateExtensionCollection>* crlExtensions = nullptr;  // [0] EXPLICIT
};

// CAsn1CRL: CertificateList ::= SEQUENCE { tbsCertList, signatureAlgorithm, signatureValue }.
class CAsn1CRL : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetIssuer(unsigned int flags) const { return tbsCertList->GetIssuer(flags); }
    std::wstring GetHashAlgOid() const { return ::GetHashAlgOid(signatureAlgorithm->GetOidString()); }

    CAsn1TBSCertList* tbsCertList = nullptr;
    CAsn1AlgorithmIdentifier* signatureAlgorithm = nullptr;
    CAsn1BitString* signatureValue = nullptr;
};

// CAsn1IssuerSerial: SEQUENCE { issuer GeneralNames, serial INTEGER, issuerUID BIT STRING OPTIONAL }
// (the base certificate id of an attribute certificate's holder and issuer, and the ESS form).
class CAsn1IssuerSerial : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetCertId: the serial's hexadecimal, then the first directory name of issuer (as
    // CAsn1TBSCertificate::GetCertId, so that the two can be compared).
    std::wstring GetCertId(unsigned int flags) const;

    CAsn1GeneralNames* issuer = nullptr;
    CAsn1Serial* serial = nullptr;
    CAsn1BitString* issuerUid = nullptr;
};

// CAsn1ObjectDigestInfo: SEQUENCE { digestedObjectType ENUMERATED, otherObjectTypeID OBJECT
// IDENTIFIER OPTIONAL, digestAlgorithm, objectDigest BIT STRING }.
class CAsn1ObjectDigestInfo : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1Object* digestedObjectType = nullptr;
    CAsn1ObjectIdentifier* otherObjectTypeId = nullptr;
    CAsn1AlgorithmIdentifier* digestAlgorithm = nullptr;
    CAsn1BitString* objectDigest = nullptr;
};

// CAsn1Holder: SEQUENCE { baseCertificateID [0] IssuerSerial OPTIONAL, entityName [1] GeneralNames
// OPTIONAL, objectDigestInfo [2] OPTIONAL }, all IMPLICIT.
class CAsn1Holder : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1IssuerSerial* baseCertificateId = nullptr;
    CAsn1GeneralNames* entityName = nullptr;
    CAsn1ObjectDigestInfo* objectDigestInfo = nullptr;
};

// CAsn1V2Form: SEQUENCE { issuerName GeneralNames OPTIONAL, baseCertificateID [0] OPTIONAL,
// objectDigestInfo [1] OPTIONAL }; the attribute certificate's issuer as [0] IMPLICIT V2Form.
class CAsn1V2Form : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetIssuerName is the first directory name of issuerName, or nullptr.
    CAsn1DistinguishedName* GetIssuerName() const;

    CAsn1GeneralNames* issuerName = nullptr;
    CAsn1IssuerSerial* baseCertificateId = nullptr;
    CAsn1ObjectDigestInfo* objectDigestInfo = nullptr;
};

// CAsn1SyntaxVersion: AttCertVersion ::= INTEGER { v2(1) }.
using CAsn1SyntaxVersion = CAsn1Integer;

// CAsn1AttCertValidityPeriod: SEQUENCE { notBeforeTime, notAfterTime GeneralizedTime }.
class CAsn1AttCertValidityPeriod : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1CertificateTime* notBefore = nullptr;
    CAsn1CertificateTime* notAfter = nullptr;
};

// CAsn1GenericAttribute: Attribute ::= SEQUENCE { type OBJECT IDENTIFIER, values SET OF ANY }, the
// values kept as generic objects (an attribute certificate's attributes).
class CAsn1GenericAttribute : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1ObjectIdentifier* type = nullptr;
    CAsn1Set* values = nullptr;
};

// CAsn1AttributeCertificateInfo: AttributeCertificateInfo (RFC 5755 4.1) in member order. The issuer
// is either the v2Form [0] or, in the old form, GeneralNames.
class CAsn1AttributeCertificateInfo : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetIssuerName is the issuer's directory name, or nullptr.
    CAsn1DistinguishedName* GetIssuerName() const;

    CAsn1SyntaxVersion* version = nullptr;  // optional in the version 1 form
    CAsn1Holder* holder = nullptr;
    CAsn1V2Form* v2Form = nullptr;
    CAsn1GeneralNames* v1Issuer = nullptr;
    CAsn1AlgorithmIdentifier* signature = nullptr;
    CAsn1Serial* serialNumber = nullptr;
    CAsn1AttCertValidityPeriod* validity = nullptr;
    CAsn1SequenceOf<CAsn1GenericAttribute>* attributes = nullptr;
    CAsn1BitString* issuerUniqueId = nullptr;
    CAsn1CertificateExtensionCollection* extensions = nullptr;
};

// CAsn1AttributeCertificate: SEQUENCE { acinfo, signatureAlgorithm, signatureValue }.
class CAsn1AttributeCertificate : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1AttributeCertificateInfo* acinfo = nullptr;
    CAsn1AlgorithmIdentifier* signatureAlgorithm = nullptr;
    CAsn1BitString* signatureValue = nullptr;
};

// CAsn1ExtendedCertificate: PKCS #6 ExtendedCertificate ::= SEQUENCE { extendedCertificateInfo,
// signatureAlgorithm, signature }, the info kept as a generic tree.
class CAsn1ExtendedCertificate : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1Sequence* extendedCertificateInfo = nullptr;
    CAsn1AlgorithmIdentifier* signatureAlgorithm = nullptr;
    CAsn1BitString* signature = nullptr;
};

// CAsn1OtherRevocationInfoFormat: SEQUENCE { otherRevInfoFormat OBJECT IDENTIFIER, otherRevInfo ANY }
// (OtherCertificateFormat has the same shape).
class CAsn1OtherRevocationInfoFormat : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1ObjectIdentifier* format = nullptr;
    CAsn1Object* info = nullptr;
};
using CAsn1OtherCertificateFormat = CAsn1OtherRevocationInfoFormat;

// CAsn1OtherRevocationInfo: RevocationInfoChoice ::= CHOICE { crl CertificateList, other [1]
// IMPLICIT OtherRevocationInfoFormat }.
using CAsn1OtherRevocationInfo = CAsn1Choice<CAsn1CRL, CAsn1Tagged<CAsn1OtherRevocationInfoFormat, 0xA1>>;

// CAsn1CertificateChoice: CertificateChoices ::= CHOICE { certificate, extendedCertificate [0],
// v1AttrCert [1], v2AttrCert [2], other [3] } (all IMPLICIT).
using CAsn1CertificateChoice =
    CAsn1Choice<CAsn1Certificate, CAsn1Tagged<CAsn1ExtendedCertificate, 0xA0>,
                CAsn1Tagged<CAsn1AttributeCertificate, 0xA1>, CAsn1Tagged<CAsn1AttributeCertificate, 0xA2>,
                CAsn1Tagged<CAsn1OtherCertificateFormat, 0xA3>>;
