#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "ca/CertInfo2.h"
#include "ca/RecordFields.h"
#include "ca/Serializable.h"
#include "ca/StringArray.h"

class CAsn1CRL;

namespace ca {

// CrlInfo describes one certificate revocation list (type id 10, key "crlInfo"); JSON: the fields in
// declaration order, "RevokedCerts" written by its string list.
class CrlInfo : public ISerializable {
public:
    void ToJson(JsonWriter& writer) const override;
    void FromJson(const JsonValue& value) override;
    int GetType() const override { return kTypeCrlInfo; }
    // FromAsn1 fills every field from a decoded CRL (the mapping is in ca/FromAsn1.cpp).
    void FromAsn1(CAsn1CRL& crl);

    uint32_t number = 0;  // the CRL number extension's low 32 bits; 0 without one
    std::wstring authorityKeyId;
    std::wstring issuer;
    std::wstring oidIssuer;
    std::wstring x500NameIssuer;
    std::wstring validFrom;
    std::wstring validFromUTC;
    std::wstring validTo;
    std::wstring validToUTC;
    std::wstring rawData;
    CertInfoExtensionCollection extensions;
    // One text per revoked certificate: serial, revocation time (UTC) and the reason when given.
    StringArray revokedCerts{kTypeCrl};
};

}  // namespace ca
