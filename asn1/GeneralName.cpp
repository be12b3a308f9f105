#include "asn1/GeneralName.h"

#include <cstdio>
#include <iterator>
#include <vector>

namespace {

// Text is an optional member's formatted string ("" when absent).
std::wstring Text(CAsn1Object* member, unsigned int flags = 0) {
    return member != nullptr ? member->GetFormattedString(flags) : std::wstring();
}

// Joined formats every member of a list, separated.
template <class T>
std::wstring Joined(const std::vector<T*>& members, const wchar_t* separator, unsigned int flags = 0) {
    std::wstring text;
    for (T* member : members) {
        if (member == nullptr) {
            continue;
        }
        if (!text.empty()) {
            text += separator;
        }
        text += member->GetFormattedString(flags);
    }
    return text;
}

// Labelled appends "label=value" for a present member.
void Labelled(std::vector<std::wstring>& items, const wchar_t* label, CAsn1Object* member,
              unsigned int flags = 0) {
    if (member != nullptr) {
        items.push_back(std::wstring(label) + L"=" + member->GetFormattedString(flags));
    }
}

std::wstring JoinItems(const std::vector<std::wstring>& items, const wchar_t* separator) {
    std::wstring text;
    for (const std::wstring& item : items) {
        if (!text.empty()) {
            text += separator;
        }
        text += item;
    }
    return text;
}

// ExtensionAttributeMaker makes the value class of one extension-attribute type.
using ExtensionAttributeMaker = std::unique_ptr<CAsn1ExtensionAttributeValue> (*)(CAsn1Block*, CAsn1Object*);

template <class T>
std::unique_ptr<CAsn1ExtensionAttributeValue> MakeValue(CAsn1Block* inBlock, CAsn1Object* parent) {
    return std::make_unique<T>(inBlock, parent);
}

// kExtensionAttributeValues is indexed by the extension-attribute type (X.411 ub-extension-types).
constexpr ExtensionAttributeMaker kExtensionAttributeValues[] = {
    nullptr,
    &MakeValue<CAsn1ExtensionAttributeValueWithPrintableString>,             // 1 common-name
    &MakeValue<CAsn1ExtensionAttributeValueWithTeletexString>,               // 2 teletex-common-name
    &MakeValue<CAsn1ExtensionAttributeValueWithTeletexString>,               // 3 teletex-organization-name
    &MakeValue<CAsn1ExtensionAttributeValueTeletexPersonalName>,             // 4
    &MakeValue<CAsn1ExtensionAttributeValueTeletexOrganizationalUnitNames>,  // 5
    &MakeValue<CAsn1ExtensionAttributeValueTeletexDomainDefinedAttributes>,  // 6
    &MakeValue<CAsn1ExtensionAttributeValueWithPrintableString>,             // 7 pds-name
    &MakeValue<CAsn1ExtensionAttributeValuePhysicalDeliveryCountryName>,     // 8
    &MakeValue<CAsn1ExtensionAttributeValuePostalCode>,                      // 9
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,  // 10 physical-delivery-office-name
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,  // 11 physical-delivery-office-number
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,  // 12 extension-OR-address-components
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,  // 13 physical-delivery-personal-name
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,  // 14 physical-delivery-organization-name
    &MakeValue<
        CAsn1ExtensionAttributeValueWithPDSParameter>,  // 15 extension-physical-delivery-address-components
    &MakeValue<CAsn1ExtensionAttributeValueUnformattedPostalAddress>,  // 16
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,          // 17 street-address
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,          // 18 post-office-box-address
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,          // 19 poste-restante-address
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,          // 20 unique-postal-name
    &MakeValue<CAsn1ExtensionAttributeValueWithPDSParameter>,          // 21 local-postal-attributes
    &MakeValue<CAsn1ExtensionAttributeValueExtendedNetworkAddress>,    // 22
    &MakeValue<CAsn1ExtensionAttributeValueTerminalType>,              // 23
};

}  // namespace

std::wstring CAsn1ApplicationName::GetFormattedString(unsigned int flags) { return Text(inner, flags); }

void CAsn1PersonalName::CreateDecodeObjects() {
    surname = _appendSpecificT<CAsn1PrintableString>(0, false);
    givenName = _appendSpecificT<CAsn1PrintableString>(1, true);
    initials = _appendSpecificT<CAsn1PrintableString>(2, true);
    generationQualifier = _appendSpecificT<CAsn1PrintableString>(3, true);
}

std::wstring CAsn1PersonalName::GetFormattedString(unsigned int /*flags*/) {
    std::vector<std::wstring> items;
    Labelled(items, L"S", surname);
    Labelled(items, L"G", givenName);
    Labelled(items, L"I", initials);
    Labelled(items, L"GQ", generationQualifier);
    return JoinItems(items, L", ");
}

void CAsn1TeletexPersonalName::CreateDecodeObjects() {
    surname = _appendSpecificT<CAsn1TeletexString>(0, false);
    givenName = _appendSpecificT<CAsn1TeletexString>(1, true);
    initials = _appendSpecificT<CAsn1TeletexString>(2, true);
    generationQualifier = _appendSpecificT<CAsn1TeletexString>(3, true);
}

std::wstring CAsn1TeletexPersonalName::GetFormattedString(unsigned int /*flags*/) {
    std::vector<std::wstring> items;
    Labelled(items, L"S", surname);
    Labelled(items, L"G", givenName);
    Labelled(items, L"I", initials);
    Labelled(items, L"GQ", generationQualifier);
    return JoinItems(items, L", ");
}

std::wstring CAsn1OrganizationalUnitName::GetFormattedString(unsigned int flags) {
    return Joined(innerObjects, L", ", flags);
}

void CAsn1BuiltInStandardAttributes::CreateDecodeObjects() {
    // By whole identifier: [APPLICATION 1] and [1] share a number, and so do [APPLICATION 2] and [2].
    countryName = _appendByTagT<CAsn1ApplicationName>(0x61);
    administrationDomainName = _appendByTagT<CAsn1ApplicationName>(0x62);
    networkAddress = _appendByTagT<CAsn1NetworkAddress>(0x80);
    terminalIdentifier = _appendByTagT<CAsn1PrintableString>(0x81);
    privateDomainName = _appendByTagT<CAsn1ApplicationName>(0xA2);
    organizationName = _appendByTagT<CAsn1OrganizationName>(0x83);
    numericUserIdentifier = _appendByTagT<CAsn1NumericUserIdentifier>(0x84);
    personalName = _appendByTagT<CAsn1PersonalName>(0xA5);
    organizationalUnitNames = _appendByTagT<CAsn1OrganizationalUnitName>(0xA6);
}

std::wstring CAsn1BuiltInStandardAttributes::GetFormattedString(unsigned int flags) {
    std::vector<std::wstring> items;
    Labelled(items, L"C", countryName, flags);
    Labelled(items, L"ADMD", administrationDomainName, flags);
    Labelled(items, L"X121", networkAddress, flags);
    Labelled(items, L"T-ID", terminalIdentifier, flags);
    Labelled(items, L"PRMD", privateDomainName, flags);
    Labelled(items, L"O", organizationName, flags);
    Labelled(items, L"UA-ID", numericUserIdentifier, flags);
    if (personalName != nullptr) {
        items.push_back(personalName->GetFormattedString(flags));
    }
    Labelled(items, L"OU", organizationalUnitNames, flags);
    return JoinItems(items, L", ");
}

void CAsn1BuiltInDomainDefinedAttribute::CreateDecodeObjects() {
    type = AppendT<CAsn1PrintableString>(false);
    value = AppendT<CAsn1PrintableString>(false);
}

std::wstring CAsn1BuiltInDomainDefinedAttribute::GetFormattedString(unsigned int /*flags*/) {
    return Text(type) + L"=" + Text(value);
}

void CAsn1TeletexDomainDefinedAttribute::CreateDecodeObjects() {
    type = AppendT<CAsn1TeletexString>(false);
    value = AppendT<CAsn1TeletexString>(false);
}

std::wstring CAsn1TeletexDomainDefinedAttribute::GetFormattedString(unsigned int /*flags*/) {
    return Text(type) + L"=" + Text(value);
}

std::wstring CAsn1ExtensionAttributeValue::GetFormattedString(unsigned int /*flags*/) {
    if (inner == nullptr) {
        return {};
    }
    const std::vector<uint8_t> encoding = inner->GetEncoding();
    return GetHexString(kHexUpper, encoding.data(), encoding.size());
}

std::wstring CAsn1ExtensionAttributeValueTerminalType::GetFormattedString(unsigned int flags) {
    static const wchar_t* const kTypes[] = {L"telex",        L"teletex",      L"g3 facsimile",
                                            L"g4 facsimile", L"ia5 terminal", L"videotex"};
    std::wstring number = Text(held, flags);
    for (size_t i = 0; i < std::size(kTypes); ++i) {
        if (number == std::to_wstring(i + 3)) {
            return kTypes[i];
        }
    }
    return number;
}

std::wstring CAsn1ExtensionAttributeValueTeletexOrganizationalUnitNames::GetFormattedString(
    unsigned int flags) {
    return held != nullptr ? Joined(held->innerObjects, L", ", flags) : std::wstring();
}

std::wstring CAsn1ExtensionAttributeValueTeletexDomainDefinedAttributes::GetFormattedString(
    unsigned int flags) {
    return held != nullptr ? Joined(held->innerObjects, L", ", flags) : std::wstring();
}

void CAsn1PDSParameter::CreateDecodeObjects() {
    printableString = AppendT<CAsn1PrintableString>(true);
    teletexString = AppendT<CAsn1TeletexString>(true);
}

std::wstring CAsn1PDSParameter::GetFormattedString(unsigned int flags) {
    std::vector<std::wstring> items;
    for (CAsn1Object* member :
         {static_cast<CAsn1Object*>(printableString), static_cast<CAsn1Object*>(teletexString)}) {
        if (member != nullptr) {
            items.push_back(member->GetFormattedString(flags));
        }
    }
    return JoinItems(items, L", ");
}

void CAsn1UnformattedPostalAddress::CreateDecodeObjects() {
    printableAddress = AppendT<CAsn1SequenceOf<CAsn1PrintableString>>(true);
    teletexString = AppendT<CAsn1TeletexString>(true);
}

std::wstring CAsn1UnformattedPostalAddress::GetFormattedString(unsigned int flags) {
    std::wstring text;
    if (printableAddress != nullptr) {
        text += L"Printable address:\r\n" + Joined(printableAddress->innerObjects, L"\r\n", flags);
    }
    if (teletexString != nullptr) {
        text += std::wstring(text.empty() ? L"" : L"\r\n") + L"Teletex string:\r\n" +
                teletexString->GetFormattedString(flags);
    }
    return text;
}

void CAsn1E163::CreateDecodeObjects() {
    number = _appendSpecificT<CAsn1NumericString>(0, false);
    subAddress = _appendSpecificT<CAsn1NumericString>(1, true);
}

std::wstring CAsn1E163::GetFormattedString(unsigned int flags) {
    return subAddress != nullptr ? Text(number, flags) + L"/" + Text(subAddress, flags) : Text(number, flags);
}

void CAsn1PresentationAddress::CreateDecodeObjects() {
    pSelector = AppendExplicitT<CAsn1OctetString>(0, true);
    sSelector = AppendExplicitT<CAsn1OctetString>(1, true);
    tSelector = AppendExplicitT<CAsn1OctetString>(2, true);
    nAddresses = AppendExplicitT<CAsn1SetOf<CAsn1OctetString>>(3, false);
}

std::wstring CAsn1PresentationAddress::GetFormattedString(unsigned int flags) {
    std::vector<std::wstring> items;
    Labelled(items, L"P", pSelector != nullptr ? pSelector->inner : nullptr, flags);
    Labelled(items, L"S", sSelector != nullptr ? sSelector->inner : nullptr, flags);
    Labelled(items, L"T", tSelector != nullptr ? tSelector->inner : nullptr, flags);
    if (nAddresses != nullptr && nAddresses->inner != nullptr) {
        items.push_back(L"N=" + Joined(nAddresses->inner->innerObjects, L"+", flags));
    }
    return JoinItems(items, L", ");
}

void CAsn1ExtensionAttribute::CreateDecodeObjects() {
    type = _appendSpecificT<CAsn1Integer>(0, false);
    type->Decode();  // the value's class depends on it
    CAsn1Block* valueBlock = block->GetBlockBySpecificIdx(1);
    if (valueBlock == nullptr) {
        ca::RaiseAt({kAsn1TemplateUnit, 606}, ca::kAsn1BadTag);
    }
    uint32_t number = 0;
    if (type->byteCount <= 4) {
        for (uint32_t i = 0; i < type->byteCount; ++i) {
            number = number << 8 | type->bytes[i];
        }
    }
    const ExtensionAttributeMaker maker =
        number < std::size(kExtensionAttributeValues) ? kExtensionAttributeValues[number] : nullptr;
    value = _AddNew(maker != nullptr ? maker(valueBlock, this)
                                     : std::make_unique<CAsn1ExtensionAttributeValue>(valueBlock, this));
    ++readIndex;
}

std::wstring CAsn1ExtensionAttribute::GetFormattedString(unsigned int flags) {
    return Text(type, flags) + L": " + Text(value, flags);
}

void CAsn1OrAddress::CreateDecodeObjects() {
    standardAttributes = AppendT<CAsn1BuiltInStandardAttributes>(false);
    domainDefinedAttributes = AppendT<CAsn1SequenceOf<CAsn1BuiltInDomainDefinedAttribute>>(true);
    extensionAttributes = AppendT<CAsn1SetOf<CAsn1ExtensionAttribute>>(true);
}

std::wstring CAsn1OrAddress::GetFormattedString(unsigned int flags) {
    std::vector<std::wstring> items{Text(standardAttributes, flags)};
    if (domainDefinedAttributes != nullptr) {
        items.push_back(Joined(domainDefinedAttributes->innerObjects, L", ", flags));
    }
    if (extensionAttributes != nullptr) {
        items.push_back(Joined(extensionAttributes->innerObjects, L", ", flags));
    }
    return JoinItems(items, L"; ");
}

void CAsn1AnotherName::CreateDecodeObjects() {
    typeId = AppendT<CAsn1ObjectIdentifier>(false);
    value = AppendExplicitT<CAsn1Object>(0, false);
}

std::wstring CAsn1AnotherName::GetFormattedString(unsigned int flags) {
    return Text(typeId, flags) + L"=" + Text(value != nullptr ? value->inner : nullptr, flags);
}

void CAsn1EDIPartyName::CreateDecodeObjects() {
    nameAssigner = AppendExplicitT<CAsn1Object>(0, true);
    partyName = AppendExplicitT<CAsn1Object>(1, false);
}

std::wstring CAsn1EDIPartyName::GetFormattedString(unsigned int flags) {
    const std::wstring party = Text(partyName != nullptr ? partyName->inner : nullptr, flags);
    return nameAssigner != nullptr ? Text(nameAssigner->inner, flags) + L": " + party : party;
}

std::wstring CAsn1IPAddress::GetFormattedString(unsigned int /*flags*/) {
    const uint8_t* bytes = value.data.get();
    wchar_t part[8];
    std::wstring text;
    if (value.size == 4 && bytes != nullptr) {
        for (size_t i = 0; i < 4; ++i) {
            std::swprintf(part, std::size(part), i == 0 ? L"%u" : L".%u", bytes[i]);
            text += part;
        }
        return text;
    }
    if (value.size == 16 && bytes != nullptr) {
        for (size_t i = 0; i < 16; i += 2) {
            std::swprintf(part, std::size(part), i == 0 ? L"%X" : L":%X", bytes[i] << 8 | bytes[i + 1]);
            text += part;
        }
        return text;
    }
    return GetHexString(kHexUpper | kHexColons, bytes, bytes != nullptr ? value.size : 0);
}

namespace {

// SNameLabel ties a general-name alternative's tag to the label it is shown with.
struct SNameLabel {
    uint32_t tag;
    const wchar_t* label;
};

constexpr SNameLabel kNameLabels[] = {{0xA0, L"OtherName"}, {0x81, L"Email"},   {0x82, L"DNS"},
                                      {0xA3, L"X400"},      {0xA4, L"DirName"}, {0xA5, L"EDI"},
                                      {0x86, L"URL"},       {0x87, L"IP"},      {0x88, L"RegisteredID"}};

}  // namespace

std::wstring CAsn1GeneralName::GetValue(unsigned int flags) {
    if (chosen == nullptr) {
        return {};
    }
    if (auto* directory = GetChosen<CAsn1Tagged<CAsn1Explicit<CAsn1DistinguishedName>, 0xA4>>()) {
        return Text(directory->inner, flags);
    }
    return chosen->GetFormattedString(flags);
}

std::wstring CAsn1GeneralName::GetFormattedString(unsigned int flags) {
    for (const SNameLabel& row : kNameLabels) {
        if (chosen != nullptr && row.tag == chosen->tag) {
            return std::wstring(row.label) + L"=" + GetValue(flags);
        }
    }
    return {};
}

CAsn1DistinguishedName* CAsn1GeneralName::GetDirectoryName() const {
    auto* directory = GetChosen<CAsn1Tagged<CAsn1Explicit<CAsn1DistinguishedName>, 0xA4>>();
    return directory != nullptr ? directory->inner : nullptr;
}

bool CAsn1GeneralName::IsUri() const { return GetChosen<CAsn1Tagged<CAsn1IA5String, 0x86>>() != nullptr; }

std::wstring CAsn1GeneralNames::GetFormattedString(unsigned int flags) {
    return Joined(innerObjects, L"\r\n", flags);
}
