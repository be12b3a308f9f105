#pragma once

#include <map>
#include <string>

namespace ca {

// The parameters of an initialisation string that the module knows by name.
enum class InitStringParameter {
    MODULE = 0,
    DESCRIPTIONFORMAT = 1,
    LDAP_FILTER = 2,
    CERT_FILTER = 3,
    FORCE_CERTINCLUDE = 4
};

// InitStringParser splits a "NAME=value;NAME=value;" text once. Names are upper-cased, values lose
// surrounding double quotes and blanks, and a name given twice keeps its first value.
class InitStringParser {
public:
    // A null text gives an empty parser.
    explicit InitStringParser(const wchar_t* text);

    bool Lookup(InitStringParameter parameter, std::wstring& value) const;
    // LookupStr finds any other name, matched exactly (callers pass upper-case names).
    bool LookupStr(const wchar_t* name, std::wstring& value) const;

private:
    std::map<InitStringParameter, std::wstring> known;
    std::map<std::wstring, std::wstring> byName;
};

// toupper upper-cases a wide text character by character.
std::wstring toupper(std::wstring text);

}  // namespace ca
