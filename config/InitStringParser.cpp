#include "config/InitStringParser.h"

#include <cwctype>
#include <iterator>

namespace ca {

namespace {

constexpr const wchar_t* kKnownNames[] = {L"MODULE", L"DESCRIPTIONFORMAT", L"LDAP_FILTER", L"CERT_FILTER",
                                          L"FORCE_CERTINCLUDE"};

std::wstring Trim(const std::wstring& text, const wchar_t* set) {
    const size_t first = text.find_first_not_of(set);
    if (first == std::wstring::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(set) - first + 1);
}

}  // namespace

std::wstring toupper(std::wstring text) {
    for (wchar_t& c : text) {
        c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
    }
    return text;
}

InitStringParser::InitStringParser(const wchar_t* text) {
    if (text == nullptr) {
        return;
    }
    const std::wstring all(text);
    size_t start = 0;
    while (start <= all.size()) {
        size_t end = all.find(L';', start);
        if (end == std::wstring::npos) {
            end = all.size();
        }
        const std::wstring item = all.substr(start, end - start);
        start = end + 1;
        const size_t equals = item.find(L'=');
        if (equals == std::wstring::npos) {
            continue;  // an item without "=" names nothing
        }
        const std::wstring name = toupper(Trim(item.substr(0, equals), L" "));
        if (name.empty()) {
            continue;
        }
        const std::wstring value = Trim(item.substr(equals + 1), L"\" ");
        bool isKnown = false;
        for (size_t i = 0; i < std::size(kKnownNames); ++i) {
            if (name == kKnownNames[i]) {
                known.emplace(static_cast<InitStringParameter>(i), value);
                isKnown = true;
                break;
            }
        }
        if (!isKnown) {
            byName.emplace(name, value);
        }
    }
}

bool InitStringParser::Lookup(InitStringParameter parameter, std::wstring& value) const {
    const auto it = known.find(parameter);
    if (it == known.end()) {
        return false;
    }
    value = it->second;
    return true;
}

bool InitStringParser::LookupStr(const wchar_t* name, std::wstring& value) const {
    const auto it = name == nullptr ? byName.end() : byName.find(name);
    if (it == byName.end()) {
        return false;
    }
    value = it->second;
    return true;
}

}  // namespace ca
