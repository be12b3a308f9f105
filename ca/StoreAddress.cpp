#include "ca/StoreAddress.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cwctype>
#include <iterator>

#include "base/Encode.h"

namespace ca {

const wchar_t* const LocMap[10] = {L"",       L"sscu", L"sscs", L"sslm",  L"sslmgp",
                                   L"sscugp", L"sss",  L"ssu",  L"sslme", L"remote"};

namespace {

enum class Locality { kAlways, kByAddress, kNever };
constexpr Locality kLocality[std::size(LocMap)] = {
    Locality::kAlways, Locality::kAlways,    Locality::kAlways,    Locality::kByAddress, Locality::kByAddress,
    Locality::kAlways, Locality::kByAddress, Locality::kByAddress, Locality::kAlways,    Locality::kNever};

constexpr uint32_t kSslm = 3;
constexpr uint32_t kSslmgp = 4;

std::wstring Lower(std::wstring text) {
    for (wchar_t& c : text) {
        c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    }
    return text;
}

bool SameText(const std::wstring& a, const wchar_t* b) { return Lower(a) == Lower(b); }

std::wstring FirstLabel(const std::wstring& host) { return host.substr(0, host.find(L'.')); }

bool IsMachineChar(wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L'.' ||
           c == L'-' || c == L'_' || c == L':';
}

}  // namespace

StoreAddress::StoreAddress(const std::wstring& locationCode, const std::wstring& inAddress,
                           const std::wstring& inName)
    : name(inName), location(ParseLoc(locationCode)), empty(false) {
    valid = SetAddress(inAddress);
}

StoreAddress::StoreAddress(const std::wstring& storeName, bool machine)
    : StoreAddress(machine ? L"sslm" : L"sscu", L"", storeName) {}

uint32_t StoreAddress::ParseLoc(const std::wstring& code) {
    const std::wstring lower = Lower(code);
    for (uint32_t i = 0; i < std::size(LocMap); ++i) {
        if (lower == LocMap[i]) {
            return i;
        }
    }
    return 0;
}

void StoreAddress::Parse(const std::wstring& text) {
    const size_t colon = text.find(L':');
    location = ParseLoc(colon == std::wstring::npos ? text : text.substr(0, colon));
    const std::wstring rest = colon == std::wstring::npos ? text : text.substr(colon + 1);
    if (!rest.empty() && rest[0] == L'\\') {
        // Deliberate: the separator search runs backwards from position 0, so it finds the leading
        // backslash itself.
        const size_t separator = rest.rfind(L'\\', 0);
        name = rest;
        address = rest.substr(0, separator + 1);
    } else {
        name = rest;
    }
    empty = false;
}

bool StoreAddress::SetAddress(const std::wstring& inAddress) {
    address = empty ? std::wstring() : inAddress;
    if (address.empty() && (location == kSslm || location == kSslmgp)) {
        address = L"\\\\LOCALHOST";
    }
    if (!address.empty()) {
        while (address.compare(0, 2, L"\\\\") != 0) {
            address.insert(0, 1, L'\\');
        }
    }
    valid = address.size() <= kMaxAddressLength &&
            std::all_of(address.begin() + static_cast<std::ptrdiff_t>(std::min<size_t>(2, address.size())),
                        address.end(), IsMachineChar);
    return valid;
}

bool StoreAddress::IsLocal() const {
    switch (kLocality[location < std::size(kLocality) ? location : 0]) {
        case Locality::kAlways:
            return true;
        case Locality::kNever:
            return false;
        case Locality::kByAddress:
            break;
    }
    std::wstring host = Lower(address);
    host.erase(std::remove(host.begin(), host.end(), L'\\'), host.end());
    if (host == L"127.0.0.1" || host == L"localhost") {
        return true;
    }
    char own[256] = {};
    if (gethostname(own, sizeof(own) - 1) != 0 || host.empty()) {
        return false;
    }
    return FirstLabel(host) == FirstLabel(Lower(u8u16(own)));
}

bool StoreAddress::IsMy() const { return SameText(name, L"MY"); }

bool StoreAddress::IsTempStore() const { return SameText(name, L"VALKOTempStore"); }

bool StoreAddress::IsCertManStore() const { return SameText(name, L"CertMan"); }

std::wstring StoreAddress::GetFullAddress() const {
    const std::wstring code = location < std::size(LocMap) ? LocMap[location] : L"";
    return code + L":" + (address.empty() ? L"" : address + L"\\") + name;
}

bool StoreAddress::operator==(const StoreAddress& other) const {
    return address == other.address && name == other.name && location == other.location &&
           valid == other.valid && empty == other.empty;
}

void StoreAddress::FromJson(const JsonValue& value) {
    if (!value.IsObject()) {
        throw Exception(kJsonError);
    }
    if (ReadWString(value, "name", name)) {
        empty = false;
    }
    std::wstring code;
    if (ReadWString(value, "location", code)) {
        location = ParseLoc(code);
        empty = false;
    }
    std::wstring machine = address;
    ReadWString(value, "address", machine);
    SetAddress(machine);
}

void StoreAddress::ToJson(JsonWriter& writer) const {
    writer.StartObject();
    if (!empty) {
        WriteKey(writer, "location");
        WriteWString(writer, location < std::size(LocMap) ? LocMap[location] : L"");
        WriteKey(writer, "address");
        WriteWString(writer, address);
        WriteKey(writer, "name");
        WriteWString(writer, name);
    }
    writer.EndObject();
}

int FilterAddresses(StoreAddresses& addresses, const std::function<bool(const StoreAddress&)>& keep) {
    const size_t before = addresses.items.size();
    addresses.items.erase(std::remove_if(addresses.items.begin(), addresses.items.end(),
                                         [&keep](const StoreAddress& a) { return !keep(a); }),
                          addresses.items.end());
    return static_cast<int>(before - addresses.items.size());
}

}  // namespace ca
