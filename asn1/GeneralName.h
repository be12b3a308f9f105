#pragma once

// General names (RFC 5280) and the X.400 OR address of their x400Address alternative (ITU-T X.411),
// as structure classes. Only read for display: every class formats what it holds.
#include <string>

#include "asn1/Asn1Constructed.h"
#include "asn1/X500Name.h"

// The two-alternative strings of the OR address: NumericString or PrintableString.
using CAsn1NumericOrPrintable = CAsn1Choice<CAsn1NumericString, CAsn1PrintableString>;

// CAsn1ApplicationName: [APPLICATION n] CHOICE { NumericString, PrintableString } (country name [1],
// administration domain name [2]) and [n] EXPLICIT of the same choice (private domain name [2]).
class CAsn1ApplicationName : public CAsn1Explicit<CAsn1NumericOrPrintable> {
public:
    using CAsn1Explicit<CAsn1NumericOrPrintable>::CAsn1Explicit;
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1NetworkAddress: X121Address ::= NumericString, the network address [0] of the standard
// attributes.
using CAsn1NetworkAddress = CAsn1NumericString;
// CAsn1OrganizationName: PrintableString; CAsn1NumericUserIdentifier: NumericString.
using CAsn1OrganizationName = CAsn1PrintableString;
using CAsn1NumericUserIdentifier = CAsn1NumericString;

// CAsn1PersonalName: SET { surname [0], given-name [1] OPTIONAL, initials [2] OPTIONAL,
// generation-qualifier [3] OPTIONAL }, all IMPLICIT PrintableString.
class CAsn1PersonalName : public CAsn1Set {
public:
    using CAsn1Set::CAsn1Set;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1PrintableString* surname = nullptr;
    CAsn1PrintableString* givenName = nullptr;
    CAsn1PrintableString* initials = nullptr;
    CAsn1PrintableString* generationQualifier = nullptr;
};

// CAsn1TeletexPersonalName: the same four parts as TeletexStrings.
class CAsn1TeletexPersonalName : public CAsn1Set {
public:
    using CAsn1Set::CAsn1Set;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1TeletexString* surname = nullptr;
    CAsn1TeletexString* givenName = nullptr;
    CAsn1TeletexString* initials = nullptr;
    CAsn1TeletexString* generationQualifier = nullptr;
};

// CAsn1OrganizationalUnitName: OrganizationalUnitNames ::= SEQUENCE OF PrintableString.
class CAsn1OrganizationalUnitName : public CAsn1SequenceOf<CAsn1PrintableString> {
public:
    using CAsn1SequenceOf<CAsn1PrintableString>::CAsn1SequenceOf;
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1BuiltInStandardAttributes: the standard attributes of an OR address, each optional.
class CAsn1BuiltInStandardAttributes : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1ApplicationName* countryName = nullptr;                     // [APPLICATION 1]
    CAsn1ApplicationName* administrationDomainName = nullptr;        // [APPLICATION 2]
    CAsn1NetworkAddress* networkAddress = nullptr;                   // [0]
    CAsn1PrintableString* terminalIdentifier = nullptr;              // [1]
    CAsn1ApplicationName* privateDomainName = nullptr;               // [2] EXPLICIT
    CAsn1OrganizationName* organizationName = nullptr;               // [3]
    CAsn1NumericUserIdentifier* numericUserIdentifier = nullptr;     // [4]
    CAsn1PersonalName* personalName = nullptr;                       // [5]
    CAsn1OrganizationalUnitName* organizationalUnitNames = nullptr;  // [6]
};

// CAsn1BuiltInDomainDefinedAttribute: SEQUENCE { type PrintableString, value PrintableString }.
class CAsn1BuiltInDomainDefinedAttribute : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;  // "type=value"

    CAsn1PrintableString* type = nullptr;
    CAsn1PrintableString* value = nullptr;
};

// CAsn1TeletexDomainDefinedAttribute: the same with TeletexStrings.
class CAsn1TeletexDomainDefinedAttribute : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1TeletexString* type = nullptr;
    CAsn1TeletexString* value = nullptr;
};

// CAsn1ExtensionAttributeValue is the base of the extension-attribute values: the content of the
// [1] EXPLICIT value, kept undecoded by the base (formatted as hexadecimal).
class CAsn1ExtensionAttributeValue : public CAsn1Explicit<CAsn1Object> {
public:
    using CAsn1Explicit<CAsn1Object>::CAsn1Explicit;
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1ExtensionAttributeValueWith<T> holds one T (the string-valued attributes and the postal code
// and country choices).
template <class T>
class CAsn1ExtensionAttributeValueWith : public CAsn1ExtensionAttributeValue {
public:
    using CAsn1ExtensionAttributeValue::CAsn1ExtensionAttributeValue;
    void CreateDecodeObjects() override { held = AppendT<T>(false); }
    std::wstring GetFormattedString(unsigned int flags) override { return held->GetFormattedString(flags); }

    T* held = nullptr;
};

using CAsn1ExtensionAttributeValueWithPrintableString =
    CAsn1ExtensionAttributeValueWith<CAsn1PrintableString>;
using CAsn1ExtensionAttributeValueWithTeletexString = CAsn1ExtensionAttributeValueWith<CAsn1TeletexString>;
using CAsn1ExtensionAttributeValuePhysicalDeliveryCountryName =
    CAsn1ExtensionAttributeValueWith<CAsn1NumericOrPrintable>;
using CAsn1ExtensionAttributeValuePostalCode = CAsn1ExtensionAttributeValueWith<CAsn1NumericOrPrintable>;
using CAsn1ExtensionAttributeValueTeletexPersonalName =
    CAsn1ExtensionAttributeValueWith<CAsn1TeletexPersonalName>;

// CAsn1ExtensionAttributeValueTerminalType: INTEGER shown as "telex" (3) ... "videotex" (8), other
// numbers in decimal.
class CAsn1ExtensionAttributeValueTerminalType : public CAsn1ExtensionAttributeValueWith<CAsn1Integer> {
public:
    using CAsn1ExtensionAttributeValueWith<CAsn1Integer>::CAsn1ExtensionAttributeValueWith;
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1ExtensionAttributeValueTeletexOrganizationalUnitNames: SEQUENCE OF TeletexString.
class CAsn1ExtensionAttributeValueTeletexOrganizationalUnitNames
    : public CAsn1ExtensionAttributeValueWith<CAsn1SequenceOf<CAsn1TeletexString>> {
public:
    using CAsn1ExtensionAttributeValueWith<
        CAsn1SequenceOf<CAsn1TeletexString>>::CAsn1ExtensionAttributeValueWith;
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1ExtensionAttributeValueTeletexDomainDefinedAttributes: SEQUENCE OF
// TeletexDomainDefinedAttribute.
class CAsn1ExtensionAttributeValueTeletexDomainDefinedAttributes
    : public CAsn1ExtensionAttributeValueWith<CAsn1SequenceOf<CAsn1TeletexDomainDefinedAttribute>> {
public:
    using CAsn1ExtensionAttributeValueWith<
        CAsn1SequenceOf<CAsn1TeletexDomainDefinedAttribute>>::CAsn1ExtensionAttributeValueWith;
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1PDSParameter: SET { printable-string PrintableString OPTIONAL, teletex-string TeletexString
// OPTIONAL }.
class CAsn1PDSParameter : public CAsn1Set {
public:
    using CAsn1Set::CAsn1Set;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1PrintableString* printableString = nullptr;
    CAsn1TeletexString* teletexString = nullptr;
};

using CAsn1ExtensionAttributeValueWithPDSParameter = CAsn1ExtensionAttributeValueWith<CAsn1PDSParameter>;

// CAsn1UnformattedPostalAddress: SET { printable-address SEQUENCE OF PrintableString OPTIONAL,
// teletex-string TeletexString OPTIONAL }, shown under "Printable address:" and "Teletex string:".
class CAsn1UnformattedPostalAddress : public CAsn1Set {
public:
    using CAsn1Set::CAsn1Set;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1SequenceOf<CAsn1PrintableString>* printableAddress = nullptr;
    CAsn1TeletexString* teletexString = nullptr;
};

using CAsn1ExtensionAttributeValueUnformattedPostalAddress =
    CAsn1ExtensionAttributeValueWith<CAsn1UnformattedPostalAddress>;

// CAsn1E163: e163-4-address ::= SEQUENCE { number [0] IMPLICIT NumericString, sub-address [1]
// IMPLICIT NumericString OPTIONAL }.
class CAsn1E163 : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1NumericString* number = nullptr;
    CAsn1NumericString* subAddress = nullptr;
};

// CAsn1PresentationAddress: SEQUENCE { pSelector [0], sSelector [1], tSelector [2] (EXPLICIT OCTET
// STRINGs, optional), nAddresses [3] EXPLICIT SET OF OCTET STRING }.
class CAsn1PresentationAddress : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1Explicit<CAsn1OctetString>* pSelector = nullptr;
    CAsn1Explicit<CAsn1OctetString>* sSelector = nullptr;
    CAsn1Explicit<CAsn1OctetString>* tSelector = nullptr;
    CAsn1Explicit<CAsn1SetOf<CAsn1OctetString>>* nAddresses = nullptr;
};

// CAsn1ExtensionAttributeValueExtendedNetworkAddress: CHOICE { e163-4-address, psap-address [0]
// IMPLICIT PresentationAddress }.
using CAsn1ExtendedNetworkAddress = CAsn1Choice<CAsn1E163, CAsn1Tagged<CAsn1PresentationAddress, 0xA0>>;
using CAsn1ExtensionAttributeValueExtendedNetworkAddress =
    CAsn1ExtensionAttributeValueWith<CAsn1ExtendedNetworkAddress>;

// CAsn1ExtensionAttribute: SEQUENCE { type [0] IMPLICIT INTEGER, value [1] EXPLICIT ANY }, the
// value's class chosen by the type (1 to 23); an unknown type keeps the base value.
class CAsn1ExtensionAttribute : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;  // "type: value"

    CAsn1Integer* type = nullptr;
    CAsn1ExtensionAttributeValue* value = nullptr;
};

// CAsn1OrAddress: ORAddress ::= SEQUENCE { built-in-standard-attributes, built-in-domain-defined-
// attributes SEQUENCE OF OPTIONAL, extension-attributes SET OF OPTIONAL }.
class CAsn1OrAddress : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1BuiltInStandardAttributes* standardAttributes = nullptr;
    CAsn1SequenceOf<CAsn1BuiltInDomainDefinedAttribute>* domainDefinedAttributes = nullptr;
    CAsn1SetOf<CAsn1ExtensionAttribute>* extensionAttributes = nullptr;
};

// CAsn1AnotherName: SEQUENCE { type-id OBJECT IDENTIFIER, value [0] EXPLICIT ANY }.
class CAsn1AnotherName : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;  // "OID=value"

    CAsn1ObjectIdentifier* typeId = nullptr;
    CAsn1Explicit<CAsn1Object>* value = nullptr;
};

// CAsn1EDIPartyName: SEQUENCE { nameAssigner [0] DirectoryString OPTIONAL, partyName [1]
// DirectoryString } (the strings explicitly tagged, as a tagged CHOICE is).
class CAsn1EDIPartyName : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1Explicit<CAsn1Object>* nameAssigner = nullptr;
    CAsn1Explicit<CAsn1Object>* partyName = nullptr;
};

// CAsn1IPAddress: [7] OCTET STRING shown as a dotted IPv4 or a colon-grouped IPv6 address (other
// lengths in hexadecimal, as with a name constraint's address and mask).
class CAsn1IPAddress : public CAsn1OctetString {
public:
    using CAsn1OctetString::CAsn1OctetString;
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1GeneralName: the GeneralName CHOICE, alternatives in tag order [0] .. [8].
class CAsn1GeneralName
    : public CAsn1Choice<CAsn1Tagged<CAsn1AnotherName, 0xA0>, CAsn1Tagged<CAsn1IA5String, 0x81>,
                         CAsn1Tagged<CAsn1IA5String, 0x82>, CAsn1Tagged<CAsn1OrAddress, 0xA3>,
                         CAsn1Tagged<CAsn1Explicit<CAsn1DistinguishedName>, 0xA4>,
                         CAsn1Tagged<CAsn1EDIPartyName, 0xA5>, CAsn1Tagged<CAsn1IA5String, 0x86>,
                         CAsn1Tagged<CAsn1IPAddress, 0x87>, CAsn1Tagged<CAsn1ObjectIdentifier, 0x88>> {
public:
    using CAsn1Choice::CAsn1Choice;
    // GetFormattedString is "LABEL=value" ("Email", "DNS", "X400", "DirName", "EDI", "URL", "IP",
    // "RegisteredID", "OtherName"); "" for an alternative the choice does not know.
    std::wstring GetFormattedString(unsigned int flags) override;
    // GetValue is the alternative's own text, without the label.
    std::wstring GetValue(unsigned int flags);
    // GetDirectoryName is the directory name alternative, or nullptr.
    CAsn1DistinguishedName* GetDirectoryName() const;
    // IsUri: the [6] alternative.
    bool IsUri() const;
};

// CAsn1GeneralNames: GeneralNames ::= SEQUENCE OF GeneralName; formatted one name per line.
class CAsn1GeneralNames : public CAsn1SequenceOf<CAsn1GeneralName> {
public:
    using CAsn1SequenceOf<CAsn1GeneralName>::CAsn1SequenceOf;
    std::wstring GetFormattedString(unsigned int flags) override;
};
