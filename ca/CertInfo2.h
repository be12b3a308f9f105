#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "ca/RecordFields.h"
#include "ca/Serializable.h"
#include "ca/VerificationResult.h"

class CAsn1Certificate;
class CAsn1TBSCertificate;
class CAsn1AttributeCertificate;

namespace ca {

// Type ids of the collections that live only inside certificate info records, never in an envelope.
constexpr int kTypeCertInfoExtensions = 18;
constexpr int kTypeCertInfoAttributes = 19;

// CertInfoExtension is one certificate extension: "OidFriendlyName", "OidValue", "RawData",
// "FormattedData", "Critical".
struct CertInfoExtension {
    void ToJson(JsonWriter& writer) const;
    void FromJson(const JsonValue& value);

    std::wstring oidFriendlyName;
    std::wstring oidValue;
    std::wstring rawData;
    std::wstring formattedData;
    bool critical = false;
};

// CertInfoAttribute is one attribute: "OidFriendlyName", "OidValue", "RawData", "FormattedData".
struct CertInfoAttribute {
    void ToJson(JsonWriter& writer) const;
    void FromJson(const JsonValue& value);

    std::wstring oidFriendlyName;
    std::wstring oidValue;
    std::wstring rawData;
    std::wstring formattedData;
};

// CertInfoExtensionCollection is a record's extension list, a JSON array (type id 18).
class CertInfoExtensionCollection : public CListRecord<CertInfoExtension, kTypeCertInfoExtensions> {};

// CertInfoAttributeCollection is an attribute certificate's attribute list (type id 19).
class CertInfoAttributeCollection : public CListRecord<CertInfoAttribute, kTypeCertInfoAttributes> {};

// CertInfo2Fields holds CertInfo2's plain fields, so that they copy as one defaulted unit. Only a
// base: it is never deleted on its own.
struct CertInfo2Fields {
    CertInfo2Fields() = default;
    CertInfo2Fields(const CertInfo2Fields&) = default;
    CertInfo2Fields(CertInfo2Fields&&) = default;
    CertInfo2Fields& operator=(const CertInfo2Fields&) = default;
    CertInfo2Fields& operator=(CertInfo2Fields&&) = default;

    std::wstring id;
    std::wstring validity;
    uint32_t validityNumber = 0;
    std::wstring version;
    std::wstring serial;
    std::wstring signatureAlg;
    std::wstring hashAlg;
    std::wstring issuer;
    std::wstring oidIssuer;
    std::wstring x500NameIssuer;
    std::wstring validFrom;
    std::wstring validFromUTC;
    std::wstring validTo;
    std::wstring validToUTC;
    std::wstring description;
    std::wstring oidDescription;
    std::wstring x500Description;
    std::wstring subjectTags;
    std::wstring issuerTags;
    std::wstring publicKeyAlg;
    std::wstring publicKey;
    std::wstring publicKeyParams;
    bool hasPrivateKey = false;
    std::wstring issuerUniqueId;
    std::wstring subjectUniqueId;
    std::wstring publicKeyHashAlgs;
    std::wstring rawData;
    uint32_t keyUsage = 0;  // KeyUsage bits, see CertInfo2::GetKeyUsageStr
    std::wstring keyUsageStr;
    std::wstring error;
    CertInfoExtensionCollection extensions;

protected:
    ~CertInfo2Fields() = default;
};

// CertInfo2 describes one certificate (type id 6, key "certInfo"); JSON: the fields in declaration
// order, then "IssuerCert" with the issuer's complete record when issuerCert is set. Copies are deep
// (the issuer chain is copied too). SesCertInfo2 derives from it.
class CertInfo2 : public ISerializable, public CertInfo2Fields {
public:
    CertInfo2() = default;
    CertInfo2(const CertInfo2& other);
    CertInfo2& operator=(const CertInfo2& other);
    CertInfo2(CertInfo2&&) = default;
    CertInfo2& operator=(CertInfo2&&) = default;

    void ToJson(JsonWriter& writer) const override;
    // FromJson takes the keys present; an "IssuerCert" replaces issuerCert with a new record. Throws
    // Exception(16300) for mistyped values and issuers nested deeper than kMaxRecordNesting.
    void FromJson(const JsonValue& value) override;
    int GetType() const override { return kTypeCertInfo; }

    // FromAsn1 fills every field from a decoded certificate (the mapping is in ca/FromAsn1.cpp);
    // "Validity" is judged at now. issuerCert is left as it is.
    void FromAsn1(CAsn1Certificate& certificate, time_t now);

    // GetKeyUsageStr names the key-usage flags set in bits (1 digitalSignature ... 256 decipherOnly,
    // as the certificate's key-usage extension decodes them), joined with "; ".
    static std::wstring GetKeyUsageStr(uint32_t bits);

    std::unique_ptr<CertInfo2> issuerCert;

private:
    void _FromJson(const JsonValue& value, size_t depth);
};

// CertInfos2 is a list of certificate records (type id 7, key "certInfos"), a JSON array.
class CertInfos2 : public CListRecord<std::unique_ptr<CertInfo2>, kTypeCertInfos> {};

// CertInfo is the older, shorter certificate record, the signer's "SignCert" in a SignInfo. It is
// only ever nested in another record; GetType reports the certificate id 6 for completeness.
class CertInfo : public ISerializable {
public:
    void ToJson(JsonWriter& writer) const override;
    void FromJson(const JsonValue& value) override;
    int GetType() const override { return kTypeCertInfo; }

    // CopyFrom takes the fields that both records have from info ("X500Description" becomes
    // "X500NameDescription"); the others keep their values.
    void CopyFrom(const CertInfo2Fields& info);
    // FillFromTbsCert fills the record from a decoded TBS certificate ("RawData" from the whole
    // certificate when tbs belongs to one).
    void FillFromTbsCert(CAsn1TBSCertificate& tbs);

    std::wstring id;
    std::wstring serial;
    std::wstring issuer;
    std::wstring oidIssuer;
    std::wstring x500NameIssuer;
    std::wstring description;
    std::wstring oidDescription;
    std::wstring x500NameDescription;
    std::wstring subjectTags;
    std::wstring issuerTags;
    std::wstring validFrom;
    std::wstring validFromUTC;
    std::wstring validTo;
    std::wstring validToUTC;
    std::wstring rawData;
    CertInfoExtensionCollection extensions;
};

// CertForCheck pairs a certificate with an identifier (type id 15): "CertId", then "Cert".
class CertForCheck : public ISerializable {
public:
    void ToJson(JsonWriter& writer) const override;
    void FromJson(const JsonValue& value) override;
    int GetType() const override { return kTypeCertForCheck; }

    std::wstring certId;
    CertInfo2 cert;
};

// AttrCertInfo describes an attribute certificate (type id 17); JSON: the fields in declaration
// order.
class AttrCertInfo : public ISerializable {
public:
    void ToJson(JsonWriter& writer) const override;
    void FromJson(const JsonValue& value) override;
    int GetType() const override { return kTypeAttrCertInfo; }
    // FromAsn1 fills every field from a decoded attribute certificate; "Validity" is judged at now.
    void FromAsn1(CAsn1AttributeCertificate& certificate, time_t now);

    std::wstring id;
    std::wstring holderSerial;
    std::wstring holderIssuer;
    std::wstring holderOidIssuer;
    std::wstring holderX500NameIssuer;
    std::wstring holderIssuerTags;
    std::wstring validity;
    uint32_t validityNumber = 0;
    std::wstring version;
    std::wstring serial;
    std::wstring signatureAlg;
    std::wstring hashAlg;
    std::wstring issuer;
    std::wstring oidIssuer;
    std::wstring x500NameIssuer;
    std::wstring validFrom;
    std::wstring validFromUTC;
    std::wstring validTo;
    std::wstring validToUTC;
    std::wstring issuerTags;
    std::wstring issuerUniqueId;
    std::wstring rawData;
    std::wstring error;
    CertInfoAttributeCollection attributes;
    CertInfoExtensionCollection extensions;
};

}  // namespace ca
