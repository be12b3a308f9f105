#pragma once

#include <cstddef>
#include <string>

#include "ca/Serializable.h"

class TiXmlElement;

// CSesCert is a signer's certificate record: plain personal attributes kept as XML in the local
// certificate folder and copied whole into every container the signer produces.
class CSesCert : public ca::ISerializable {
public:
    void FromJson(const ca::JsonValue& value) override;
    void ToJson(ca::JsonWriter& writer) const override;
    int GetType() const override { return 1; }

    // ToXml appends the eleven child elements to parent, always all of them, in serialised order.
    void ToXml(TiXmlElement* parent) const;
    // FromXml reads the first child of each name; a missing or empty element keeps the field.
    void FromXml(const TiXmlElement* element);

    // kMaxFieldLength bounds each field of a record a client sends (characters): a record is held
    // in several forms (descriptions, base64 document) for as long as the module lives.
    static constexpr size_t kMaxFieldLength = 1024;
    // FitsBounds tells whether every field is at most kMaxFieldLength characters long.
    bool FitsBounds() const;

    // CheckString turns every CR LF pair into one blank, scanning again until none is left.
    static void CheckString(std::wstring& text);

    // Deliberate: Title precedes Organization here, but both serialised forms write Organization first.
    std::wstring ID;
    std::wstring Surname;
    std::wstring GivenName;
    std::wstring Title;
    std::wstring Organization;
    std::wstring OrganizationUnit;
    std::wstring Email;
    std::wstring Telephone;
    std::wstring Country;
    std::wstring Locality;
    std::wstring Address;
};

// SSesCertField is one serialised field: its XML element / JSON key and member.
struct SSesCertField {
    const char* name;
    std::wstring CSesCert::*field;
};

extern const SSesCertField kSesCertFields[11];
