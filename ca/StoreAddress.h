#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ca/RecordFields.h"
#include "ca/Serializable.h"

namespace ca {

// StoreAddress names a certificate store: a location class, the machine part and the store name.
//
// Choices this module makes where the exchange format leaves them open:
//   SetAddress     valid when the machine part holds only letters, digits, ".", "-", "_" and ":"
//                  after its two leading backslashes (an empty part is valid) and is at most
//                  kMaxAddressLength characters long (a host name has at most 253);
//   GetFullAddress "code:name", or "code:\\MACHINE\name" when there is a machine part;
//   IsMy           the name is "MY"; IsTempStore the name is "VALKOTempStore";
//   IsCertManStore the name is "CertMan" (all three compared without regard to case).
class StoreAddress : public ISerializable {
public:
    static constexpr size_t kMaxAddressLength = 258;  // "\\" + 256
    StoreAddress() = default;
    // Sets the name, looks up the location code, then applies SetAddress.
    StoreAddress(const std::wstring& locationCode, const std::wstring& inAddress, const std::wstring& inName);
    // The default store address with the given store name: "sslm" on a machine store, else "sscu".
    StoreAddress(const std::wstring& storeName, bool machine);

    void FromJson(const JsonValue& value) override;
    void ToJson(JsonWriter& writer) const override;
    int GetType() const override { return kTypeStoreAddress; }

    // ParseLoc returns the index of a location code (any case); unknown codes give 0.
    static uint32_t ParseLoc(const std::wstring& code);
    // Parse reads "code:rest". A rest that begins with a backslash becomes the name, and the machine
    // part becomes that single backslash (the separator search starts at position 0 on purpose).
    void Parse(const std::wstring& text);
    // SetAddress stores a normalised machine part and returns the validity flag.
    bool SetAddress(const std::wstring& inAddress);

    bool IsLocal() const;
    bool IsRemote() const { return !IsLocal(); }
    bool IsEmpty() const { return empty; }
    bool IsValid() const { return valid; }
    bool IsMy() const;
    bool IsTempStore() const;
    bool IsCertManStore() const;
    uint32_t GetLocation() const { return location; }
    const std::wstring& GetName() const { return name; }
    const std::wstring& GetAddress() const { return address; }
    uint32_t GetFlags() const { return (empty ? 1u : 0u) | (valid ? 2u : 0u); }
    std::wstring GetFullAddress() const;
    bool operator==(const StoreAddress& other) const;

private:
    std::wstring address;
    std::wstring name;
    uint32_t location = 0;
    bool valid = false;
    bool empty = true;
};

// StoreAddresses is an ordered list of store addresses (JSON: an array of objects).
class StoreAddresses : public CListRecord<StoreAddress, kTypeStoreAddresses> {};

// LocMap holds the location codes by index.
extern const wchar_t* const LocMap[10];

// FilterAddresses keeps the addresses that keep accepts and returns how many it removed.
int FilterAddresses(StoreAddresses& addresses, const std::function<bool(const StoreAddress&)>& keep);

}  // namespace ca
