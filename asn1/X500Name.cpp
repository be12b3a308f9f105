#include "asn1/X500Name.h"

#include <cwchar>
#include <vector>

namespace {

using NameTable = std::map<std::wstring, std::wstring>;

// The six string identifiers whose value an attribute shows as text.
bool IsStringTag(uint32_t tag) {
    switch (tag) {
        case 0x0C:  // UTF8String
        case 0x12:  // NumericString
        case 0x13:  // PrintableString
        case 0x14:  // TeletexString
        case 0x16:  // IA5String
        case 0x1E:  // BMPString
            return true;
        default:
            return false;
    }
}

// NeedsQuotes: a value that would read as more than one item or key unless quoted.
bool NeedsQuotes(const std::wstring& value) {
    if (value.empty()) {
        return false;
    }
    if (value.front() == L' ' || value.back() == L' ') {
        return true;
    }
    return value.find_first_of(L",;+=\"<>#\r\n") != std::wstring::npos;
}

std::wstring Quoted(const std::wstring& value) {
    std::wstring out = L"\"";
    for (const wchar_t c : value) {
        out += c;
        if (c == L'"') {
            out += L'"';
        }
    }
    return out + L"\"";
}

const wchar_t* Separator(unsigned int flags) {
    if ((flags & kNameCrLf) != 0) {
        return L"\r\n";
    }
    if ((flags & kNameSemicolon) != 0) {
        return L";";
    }
    return (flags & kNameCommaSpace) != 0 ? L", " : L",";
}

}  // namespace

const STagSynonyms dTagsArr[4] = {{L"G", L"GN"}, {L"S", L"ST"}, {L"T", L"TITLE"}, {L"E", L"EMAIL"}};

const NameTable& OidAndAtrName() {
    static const NameTable table = {
        {L"2.5.4.3", L"CN"},
        {L"2.5.4.4", L"SN"},
        {L"2.5.4.6", L"C"},
        {L"2.5.4.7", L"L"},
        {L"2.5.4.8", L"ST"},
        {L"2.5.4.9", L"STREET"},
        {L"2.5.4.10", L"O"},
        {L"2.5.4.11", L"OU"},
        {L"2.5.4.12", L"T"},
        {L"2.5.4.42", L"G"},
        {L"1.2.643.3.131.1.1", L"INN"},
        {L"1.2.643.100.1", L"OGRN"},
        {L"1.2.643.100.3", L"SNILS"},
        {L"1.2.643.100.4", L"INNLE"},
        {L"1.2.643.100.5", L"OGRNIP"},
        {L"0.9.2342.19200300.100.1.25", L"DC"},
        {L"1.2.840.113549.1.9.1", L"E"},
        {L"2.5.4.16", L"почтовый адрес"},
    };
    return table;
}

const NameTable& OidAndAtrNameSPKI() {
    static const NameTable table = {
        {L"2.5.4.9", L"street"}, {L"2.5.4.42", L"GN"}, {L"1.2.840.113549.1.9.1", L"Email"}};
    return table;
}

const NameTable& OidAndAtrNameCAPI() {
    static const NameTable table = {
        {L"2.5.4.8", L"S"},           {L"1.2.643.3.131.1.1", L"ИНН"}, {L"1.2.643.100.1", L"ОГРН"},
        {L"1.2.643.100.3", L"СНИЛС"}, {L"1.2.643.100.4", L"ИНН ЮЛ"},  {L"1.2.643.100.5", L"ОГРН ИП"},
    };
    return table;
}

void CAsn1x500Attribute::CreateDecodeObjects() {
    type = AppendT<CAsn1ObjectIdentifier>(false);
    value = AppendT<CAsn1Object>(false);
}

void CAsn1x500Attribute::ReadProperties() {
    oid = type->oid;
    if (IsStringTag(value->tag)) {
        text = value->GetFormattedString(0);
        return;
    }
    const std::vector<uint8_t> encoding = value->GetEncoding();
    text = L"#" + GetHexString(kHexUpper, encoding.data(), encoding.size());
}

std::wstring CAsn1x500Attribute::GetName(const std::wstring& oid, unsigned int flags) {
    const auto lookUp = [&oid](const NameTable& table, std::wstring& name) {
        const auto found = table.find(oid);
        if (found == table.end()) {
            return false;
        }
        name = found->second;
        return true;
    };
    std::wstring name;
    if (((flags & kNameSpki) != 0 && lookUp(OidAndAtrNameSPKI(), name)) ||
        ((flags & kNameCapi) != 0 && lookUp(OidAndAtrNameCAPI(), name)) || lookUp(OidAndAtrName(), name)) {
        return name;
    }
    return L"OID." + oid;
}

std::wstring CAsn1RelativeDistinguishedName::GetFormattedString(unsigned int flags) {
    std::wstring item;
    for (CAsn1x500Attribute* attribute : innerObjects) {
        if (!item.empty()) {
            item += L"+";
        }
        item +=
            (flags & kNameOidKeys) != 0 ? attribute->oid : CAsn1x500Attribute::GetName(attribute->oid, flags);
        item += L"=";
        std::wstring shown = attribute->text;
        if ((flags & kNameQuote) != 0 && NeedsQuotes(shown)) {
            shown = Quoted(shown);
        }
        if ((flags & kNameMarkers) != 0) {
            shown.insert(0, 1, L'<');
            shown += L'>';
        }
        item += shown;
    }
    return item;
}

std::wstring CAsn1DistinguishedName::GetFormattedString(unsigned int flags) {
    const wchar_t* separator = Separator(flags);
    std::wstring text;
    const size_t count = innerObjects.size();
    for (size_t i = 0; i < count; ++i) {
        CAsn1RelativeDistinguishedName* rdn = innerObjects[(flags & kNameReverse) != 0 ? count - 1 - i : i];
        if (i != 0) {
            text += separator;
        }
        text += rdn->GetFormattedString(flags);
    }
    return text;
}

std::wstring CAsn1PostalAddress::GetString() {
    std::wstring text;
    for (CAsn1Object* line : innerObjects) {
        if (!text.empty()) {
            text += L"\r\n";
        }
        text += line->GetFormattedString(0);
    }
    return text;
}

namespace ca {

void ParseX500Name(const std::wstring& name, X500NameMap& map) {
    size_t at = 0;
    while (at <= name.size()) {
        size_t end = name.find(L"\r\n", at);
        if (end == std::wstring::npos) {
            end = name.size();
        }
        const std::wstring item = name.substr(at, end - at);
        const size_t equals = item.find(L'=');
        if (equals != std::wstring::npos) {
            const std::wstring key = item.substr(0, equals);
            const std::wstring value = item.substr(equals + 1);
            const auto [slot, added] = map.emplace(key, value);
            if (!added) {
                slot->second += L", " + value;
            }
        }
        at = end + 2;
    }
}

void CorrectTagMap(X500NameMap& map) {
    for (const STagSynonyms& pair : dTagsArr) {
        const auto first = map.find(pair.first);
        const auto second = map.find(pair.second);
        if (first != map.end() && second == map.end()) {
            map.emplace(pair.second, first->second);
        } else if (first == map.end() && second != map.end()) {
            map.emplace(pair.first, second->second);
        }
    }
}

std::wstring MapToStr(const X500NameMap& map, const std::wstring& separator) {
    std::wstring text;
    for (const auto& [key, value] : map) {
        if (!text.empty()) {
            text += separator;
        }
        text += key;
        text += L'=';
        text += value;
    }
    return text;
}

std::wstring GetX500NameTagsStr(const std::wstring& name) {
    X500NameMap map;
    ParseX500Name(name, map);
    CorrectTagMap(map);
    return MapToStr(map, L"\r\n");
}

bool FormatDistinguishedName(const std::wstring& name, const std::wstring& format, std::wstring& result) {
    X500NameMap map;
    ParseX500Name(name, map);
    CorrectTagMap(map);
    std::wstring out;
    for (size_t i = 0; i < format.size(); ++i) {
        const wchar_t c = format[i];
        if (c == L'}') {
            if (i + 1 >= format.size() || format[i + 1] != L'}') {
                return false;
            }
            out += L'}';
            ++i;
        } else if (c == L'{') {
            if (i + 1 < format.size() && format[i + 1] == L'{') {
                out += L'{';
                ++i;
                continue;
            }
            const size_t close = format.find(L'}', i + 1);
            if (close == std::wstring::npos) {
                return false;
            }
            const auto found = map.find(format.substr(i + 1, close - i - 1));
            if (found != map.end()) {
                out += found->second;
            }
            i = close;
        } else {
            out += c;
        }
    }
    result = out;
    return true;
}

}  // namespace ca
