#include "ca/CrlInfo.h"

namespace ca {

namespace {

constexpr SField<CrlInfo> kCrlInfoFields[] = {
    Field<&CrlInfo::number>("Number"),
    Field<&CrlInfo::authorityKeyId>("AuthorityKeyId"),
    Field<&CrlInfo::issuer>("Issuer"),
    Field<&CrlInfo::oidIssuer>("OIDIssuer"),
    Field<&CrlInfo::x500NameIssuer>("X500NameIssuer"),
    Field<&CrlInfo::validFrom>("ValidFrom"),
    Field<&CrlInfo::validFromUTC>("ValidFromUTC"),
    Field<&CrlInfo::validTo>("ValidTo"),
    Field<&CrlInfo::validToUTC>("ValidToUTC"),
    Field<&CrlInfo::rawData>("RawData"),
    Field<&CrlInfo::extensions>("Extensions"),
    Field<&CrlInfo::revokedCerts>("RevokedCerts"),
};

}  // namespace

void CrlInfo::ToJson(JsonWriter& writer) const { WriteObject(*this, kCrlInfoFields, writer); }
void CrlInfo::FromJson(const JsonValue& value) {
    // The string list skips what is no array; here that is a mistyped key like any other.
    const JsonValue* revoked = value.IsObject() ? FindMember(value, "RevokedCerts") : nullptr;
    if (revoked != nullptr && !revoked->IsArray()) {
        throw Exception(kJsonError);
    }
    ReadFields(*this, kCrlInfoFields, value);
}

}  // namespace ca
