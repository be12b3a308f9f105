#pragma once

// X.500 names: the attribute short-name tables, one attribute type-and-value, the distinguished name
// with its text forms, and the text helpers that parse and re-order "KEY=value" name strings.
#include <map>
#include <string>

#include "asn1/Asn1Constructed.h"

// The short-name tables: dotted OID -> short name, built once and never changed. OidAndAtrName gives
// the default names, OidAndAtrNameSPKI the alternatives of kNameSpki, OidAndAtrNameCAPI those of
// kNameCapi.
const std::map<std::wstring, std::wstring>& OidAndAtrName();
const std::map<std::wstring, std::wstring>& OidAndAtrNameSPKI();
const std::map<std::wstring, std::wstring>& OidAndAtrNameCAPI();

// dTagsArr lists the synonym pairs of short names that CorrectTagMap completes.
struct STagSynonyms {
    const wchar_t* first;
    const wchar_t* second;
};
extern const STagSynonyms dTagsArr[4];

// The flag word of the name texts. The naming bits choose the short-name table (GetName); the layout
// bits choose the pieces CAsn1DistinguishedName::GetFormattedString assembles:
//
//   0x8    ";" between items          0x80   the last relative name first (RFC 4514 order)
//   0x10   "\r\n" between items       0x100  values holding a separator, '+', '=', '"', '<', '>', '#'
//   0x40   ", " between items                or an edge blank are quoted ("" for an embedded quote)
//   none   "," between items          0x200  every value between "<" and ">"
//                                     0x400  dotted OIDs as keys instead of short names
//   0x800  OidAndAtrNameSPKI names    0x1000 OidAndAtrNameCAPI names
//
// One separator applies, the first set in the order 0x10, 0x8, 0x40. The attributes of one
// multi-valued relative name are always joined with "+"; a value that is no string is written "#"
// and the upper-case hexadecimal of its whole encoding. The bits stay clear of the kHex* flags of
// GetHexString, so one flag word serves an identity text (serial, then issuer).
constexpr unsigned int kNameSemicolon = 0x8;
constexpr unsigned int kNameCrLf = 0x10;
constexpr unsigned int kNameCommaSpace = 0x40;
constexpr unsigned int kNameReverse = 0x80;
constexpr unsigned int kNameQuote = 0x100;
constexpr unsigned int kNameMarkers = 0x200;
constexpr unsigned int kNameOidKeys = 0x400;
constexpr unsigned int kNameSpki = 0x800;
constexpr unsigned int kNameCapi = 0x1000;

// The display forms the records use: "CN=A, O=B", the same keyed by OIDs, the RFC 4514-like single
// line and the "KEY=value" lines of the tag lists.
constexpr unsigned int kNameDisplay = kNameCommaSpace;
constexpr unsigned int kNameOidDisplay = kNameCommaSpace | kNameOidKeys;
constexpr unsigned int kNameX500 = kNameReverse | kNameQuote;
constexpr unsigned int kNameLines = kNameCrLf;

// CAsn1x500Attribute: AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }.
// ReadProperties fills oid and text: the decoded string for the six string types, otherwise "#" and
// the upper-case hexadecimal of the value's whole encoding.
class CAsn1x500Attribute : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    void ReadProperties() override;
    // GetName is the short name of oid under the naming bits of flags; "OID." and the dotted OID when
    // no table knows it.
    static std::wstring GetName(const std::wstring& oid, unsigned int flags);

    CAsn1ObjectIdentifier* type = nullptr;
    CAsn1Object* value = nullptr;
    std::wstring oid;
    std::wstring text;
};

// CAsn1RelativeDistinguishedName: SET OF AttributeTypeAndValue (several for a multi-valued name).
class CAsn1RelativeDistinguishedName : public CAsn1SetOf<CAsn1x500Attribute> {
public:
    using CAsn1SetOf<CAsn1x500Attribute>::CAsn1SetOf;
    // GetFormattedString is this relative name's attributes as one item (joined with "+").
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1DistinguishedName: Name ::= SEQUENCE OF RelativeDistinguishedName, in encoding order (the
// Name CHOICE has this one alternative, so the class stands for the choice too).
class CAsn1DistinguishedName : public CAsn1SequenceOf<CAsn1RelativeDistinguishedName> {
public:
    using CAsn1SequenceOf<CAsn1RelativeDistinguishedName>::CAsn1SequenceOf;
    // GetFormattedString and GetString are the name as text under flags (layout above).
    std::wstring GetFormattedString(unsigned int flags) override;
    std::wstring GetString(unsigned int flags) { return GetFormattedString(flags); }
};

// CAsn1PostalAddress: PostalAddress ::= SEQUENCE OF DirectoryString; GetString joins its lines with
// "\r\n".
class CAsn1PostalAddress : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    std::wstring GetString();
    std::wstring GetFormattedString(unsigned int /*flags*/) override { return GetString(); }
};

namespace ca {

using X500NameMap = std::map<std::wstring, std::wstring>;

// ParseX500Name splits name into items at "\r\n" and each item at its first "=" into key and value
// (an item without "=" is skipped); a key met again gets its values joined with ", ".
void ParseX500Name(const std::wstring& name, X500NameMap& map);
// CorrectTagMap adds the other key of each dTagsArr pair of which exactly one key is present.
void CorrectTagMap(X500NameMap& map);
// MapToStr joins "key=value" items in map order with separator.
std::wstring MapToStr(const X500NameMap& map, const std::wstring& separator);
// GetX500NameTagsStr: ParseX500Name, CorrectTagMap, then MapToStr with "\r\n".
std::wstring GetX500NameTagsStr(const std::wstring& name);
// FormatDistinguishedName fills format's "{KEY}" placeholders with the values of name's keys (after
// the synonym correction; an absent key gives ""), "{{" and "}}" standing for braces. False, with
// result untouched, when a brace is left open or stands alone.
bool FormatDistinguishedName(const std::wstring& name, const std::wstring& format, std::wstring& result);

}  // namespace ca
