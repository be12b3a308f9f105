#include "ca/CertInfo2.h"

#include <iterator>

#include "asn1/X509Extensions.h"

namespace ca {

namespace {

constexpr SField<CertInfoExtension> kExtensionFields[] = {
    Field<&CertInfoExtension::oidFriendlyName>("OidFriendlyName"),
    Field<&CertInfoExtension::oidValue>("OidValue"),
    Field<&CertInfoExtension::rawData>("RawData"),
    Field<&CertInfoExtension::formattedData>("FormattedData"),
    Field<&CertInfoExtension::critical>("Critical"),
};

constexpr SField<CertInfoAttribute> kAttributeFields[] = {
    Field<&CertInfoAttribute::oidFriendlyName>("OidFriendlyName"),
    Field<&CertInfoAttribute::oidValue>("OidValue"),
    Field<&CertInfoAttribute::rawData>("RawData"),
    Field<&CertInfoAttribute::formattedData>("FormattedData"),
};

// "IssuerCert" follows these rows when the record holds an issuer.
constexpr SField<CertInfo2Fields> kCertInfo2Fields[] = {
    Field<&CertInfo2Fields::id>("Id"),
    Field<&CertInfo2Fields::validity>("Validity"),
    Field<&CertInfo2Fields::validityNumber>("ValidityNumber"),
    Field<&CertInfo2Fields::version>("Version"),
    Field<&CertInfo2Fields::serial>("Serial"),
    Field<&CertInfo2Fields::signatureAlg>("SignatureAlg"),
    Field<&CertInfo2Fields::hashAlg>("HashAlg"),
    Field<&CertInfo2Fields::issuer>("Issuer"),
    Field<&CertInfo2Fields::oidIssuer>("OIDIssuer"),
    Field<&CertInfo2Fields::x500NameIssuer>("X500NameIssuer"),
    Field<&CertInfo2Fields::validFrom>("ValidFrom"),
    Field<&CertInfo2Fields::validFromUTC>("ValidFromUTC"),
    Field<&CertInfo2Fields::validTo>("ValidTo"),
    Field<&CertInfo2Fields::validToUTC>("ValidToUTC"),
    Field<&CertInfo2Fields::description>("Description"),
    Field<&CertInfo2Fields::oidDescription>("OIDDescription"),
    Field<&CertInfo2Fields::x500Description>("X500Description"),
    Field<&CertInfo2Fields::subjectTags>("SubjectTags"),
    Field<&CertInfo2Fields::issuerTags>("IssuerTags"),
    Field<&CertInfo2Fields::publicKeyAlg>("PublicKeyAlg"),
    Field<&CertInfo2Fields::publicKey>("PublicKey"),
    Field<&CertInfo2Fields::publicKeyParams>("PublicKeyParams"),
    Field<&CertInfo2Fields::hasPrivateKey>("HasPrivateKey"),
    Field<&CertInfo2Fields::issuerUniqueId>("IssuerUniqueId"),
    Field<&CertInfo2Fields::subjectUniqueId>("SubjectUniqueId"),
    Field<&CertInfo2Fields::publicKeyHashAlgs>("PublicKeyHashAlgs"),
    Field<&CertInfo2Fields::rawData>("RawData"),
    Field<&CertInfo2Fields::keyUsage>("KeyUsage"),
    Field<&CertInfo2Fields::keyUsageStr>("KeyUsageStr"),
    Field<&CertInfo2Fields::error>("Error"),
    Field<&CertInfo2Fields::extensions>("Extensions"),
};
static_assert(std::size(kCertInfo2Fields) == 31, "keys 1 to 31; \"IssuerCert\" is the 32nd");

constexpr SField<CertInfo> kCertInfoFields[] = {
    Field<&CertInfo::id>("Id"),
    Field<&CertInfo::serial>("Serial"),
    Field<&CertInfo::issuer>("Issuer"),
    Field<&CertInfo::oidIssuer>("OIDIssuer"),
    Field<&CertInfo::x500NameIssuer>("X500NameIssuer"),
    Field<&CertInfo::description>("Description"),
    Field<&CertInfo::oidDescription>("OIDDescription"),
    Field<&CertInfo::x500NameDescription>("X500NameDescription"),
    Field<&CertInfo::subjectTags>("SubjectTags"),
    Field<&CertInfo::issuerTags>("IssuerTags"),
    Field<&CertInfo::validFrom>("ValidFrom"),
    Field<&CertInfo::validFromUTC>("ValidFromUTC"),
    Field<&CertInfo::validTo>("ValidTo"),
    Field<&CertInfo::validToUTC>("ValidToUTC"),
    Field<&CertInfo::rawData>("RawData"),
    Field<&CertInfo::extensions>("Extensions"),
};

constexpr SField<CertForCheck> kCertForCheckFields[] = {
    Field<&CertForCheck::certId>("CertId"),
    Field<&CertForCheck::cert>("Cert"),
};

constexpr SField<AttrCertInfo> kAttrCertInfoFields[] = {
    Field<&AttrCertInfo::id>("Id"),
    Field<&AttrCertInfo::holderSerial>("HolderSerial"),
    Field<&AttrCertInfo::holderIssuer>("HolderIssuer"),
    Field<&AttrCertInfo::holderOidIssuer>("HolderOIDIssuer"),
    Field<&AttrCertInfo::holderX500NameIssuer>("HolderX500NameIssuer"),
    Field<&AttrCertInfo::holderIssuerTags>("HolderIssuerTags"),
    Field<&AttrCertInfo::validity>("Validity"),
    Field<&AttrCertInfo::validityNumber>("ValidityNumber"),
    Field<&AttrCertInfo::version>("Version"),
    Field<&AttrCertInfo::serial>("Serial"),
    Field<&AttrCertInfo::signatureAlg>("SignatureAlg"),
    Field<&AttrCertInfo::hashAlg>("HashAlg"),
    Field<&AttrCertInfo::issuer>("Issuer"),
    Field<&AttrCertInfo::oidIssuer>("OIDIssuer"),
    Field<&AttrCertInfo::x500NameIssuer>("X500NameIssuer"),
    Field<&AttrCertInfo::validFrom>("ValidFrom"),
    Field<&AttrCertInfo::validFromUTC>("ValidFromUTC"),
    Field<&AttrCertInfo::validTo>("ValidTo"),
    Field<&AttrCertInfo::validToUTC>("ValidToUTC"),
    Field<&AttrCertInfo::issuerTags>("IssuerTags"),
    Field<&AttrCertInfo::issuerUniqueId>("IssuerUniqueId"),
    Field<&AttrCertInfo::rawData>("RawData"),
    Field<&AttrCertInfo::error>("Error"),
    Field<&AttrCertInfo::attributes>("Attributes"),
    Field<&AttrCertInfo::extensions>("Extensions"),
};

std::unique_ptr<CertInfo2> CopyOf(const std::unique_ptr<CertInfo2>& record) {
    return record == nullptr ? nullptr : std::make_unique<CertInfo2>(*record);
}

}  // namespace

void CertInfoExtension::ToJson(JsonWriter& writer) const { WriteObject(*this, kExtensionFields, writer); }
void CertInfoExtension::FromJson(const JsonValue& value) { ReadFields(*this, kExtensionFields, value); }
void CertInfoAttribute::ToJson(JsonWriter& writer) const { WriteObject(*this, kAttributeFields, writer); }
void CertInfoAttribute::FromJson(const JsonValue& value) { ReadFields(*this, kAttributeFields, value); }

CertInfo2::CertInfo2(const CertInfo2& other)
    : ISerializable(other), CertInfo2Fields(other), issuerCert(CopyOf(other.issuerCert)) {}

CertInfo2& CertInfo2::operator=(const CertInfo2& other) {
    // The issuer copy is made first: other may be part of this record's own issuer chain.
    std::unique_ptr<CertInfo2> issuerCopy = CopyOf(other.issuerCert);
    CertInfo2Fields::operator=(other);
    issuerCert = std::move(issuerCopy);
    return *this;
}

void CertInfo2::ToJson(JsonWriter& writer) const {
    writer.StartObject();
    WriteFields(*this, kCertInfo2Fields, writer);
    if (issuerCert != nullptr) {
        WriteKey(writer, "IssuerCert");
        issuerCert->ToJson(writer);
    }
    writer.EndObject();
}

void CertInfo2::FromJson(const JsonValue& value) { _FromJson(value, 0); }

void CertInfo2::_FromJson(const JsonValue& value, size_t depth) {
    if (depth > kMaxRecordNesting) {
        throw Exception(kJsonError);
    }
    ReadFields(*this, kCertInfo2Fields, value);
    const JsonValue* issuerValue = FindMember(value, "IssuerCert");
    if (issuerValue != nullptr) {
        auto record = std::make_unique<CertInfo2>();
        record->_FromJson(*issuerValue, depth + 1);
        issuerCert = std::move(record);
    }
}

std::wstring CertInfo2::GetKeyUsageStr(uint32_t bits) {
    return CAsn1CertificateExtensionValueKeyUsage::GetKeyUsageStr(bits);
}

void CertInfo::ToJson(JsonWriter& writer) const { WriteObject(*this, kCertInfoFields, writer); }
void CertInfo::FromJson(const JsonValue& value) { ReadFields(*this, kCertInfoFields, value); }

void CertInfo::CopyFrom(const CertInfo2Fields& info) {
    id = info.id;
    serial = info.serial;
    issuer = info.issuer;
    oidIssuer = info.oidIssuer;
    x500NameIssuer = info.x500NameIssuer;
    description = info.description;
    oidDescription = info.oidDescription;
    x500NameDescription = info.x500Description;
    subjectTags = info.subjectTags;
    issuerTags = info.issuerTags;
    validFrom = info.validFrom;
    validFromUTC = info.validFromUTC;
    validTo = info.validTo;
    validToUTC = info.validToUTC;
    rawData = info.rawData;
    extensions = info.extensions;
}

void CertForCheck::ToJson(JsonWriter& writer) const { WriteObject(*this, kCertForCheckFields, writer); }
void CertForCheck::FromJson(const JsonValue& value) { ReadFields(*this, kCertForCheckFields, value); }

void AttrCertInfo::ToJson(JsonWriter& writer) const { WriteObject(*this, kAttrCertInfoFields, writer); }
void AttrCertInfo::FromJson(const JsonValue& value) { ReadFields(*this, kAttrCertInfoFields, value); }

}  // namespace ca
