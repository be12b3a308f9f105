#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "base/Binding.h"
#include "ca/Serializable.h"

using ::testing::HasSubstr;
using ::testing::StartsWith;

// CTempHome creates a fresh directory, points HOME at it and restores the old HOME (and removes
// the directory) when it goes.
class CTempHome {
public:
    CTempHome();
    ~CTempHome();
    CTempHome(const CTempHome&) = delete;
    CTempHome& operator=(const CTempHome&) = delete;
    const std::string& Path() const { return _path; }
    // ConfigPath is the service configuration file under this HOME; WriteConfig writes it.
    std::string ConfigPath() const { return _path + "/.config/OruCryptoSvc/OruCryptoSvcConfig.ini"; }
    void WriteConfig(const std::string& text) const;

private:
    std::string _path;
    std::string _oldHome;
    bool _hadHome = false;
};

// SLogLine is one line the module handed to the host.
struct SLogLine {
    std::wstring text;
    bool isError;
    bool operator==(const SLogLine& other) const { return text == other.text && isError == other.isError; }
};

// PrintTo shows a log line readably in test failures.
void PrintTo(const SLogLine& line, std::ostream* out);

// CLogScope binds Capture, a log callback with the host's signature, to binding (the current one
// unless a module's is given) with no lines captured yet, and puts the previous callback back when it
// goes, even after a failed ASSERT.
class CLogScope {
public:
    explicit CLogScope(SBinding& binding = CurrentBinding());
    ~CLogScope();
    CLogScope(const CLogScope&) = delete;
    CLogScope& operator=(const CLogScope&) = delete;
    static bool Capture(const wchar_t* text, bool isError);
    static std::vector<SLogLine> Take();  // returns and clears the lines so far
    static void Clear() { Take(); }

private:
    SBinding& _binding;
    LogCallback _previous;
};

// CLanguageScope keeps the current message language and restores it when it goes; given a name,
// it selects that language first (SetVALKOLng).
class CLanguageScope {
public:
    explicit CLanguageScope(const wchar_t* name = nullptr);
    ~CLanguageScope();
    CLanguageScope(const CLanguageScope&) = delete;
    CLanguageScope& operator=(const CLanguageScope&) = delete;

private:
    uint32_t _previous;
};

// SAnswer is a module response split at its NUL.
struct SAnswer {
    std::string json;
    std::vector<uint8_t> data;  // the bytes after the NUL that responseSize counts
    uint64_t responseSize = 0;
};

// CodeOf runs call and returns the code of the ca::Exception it throws, or 0.
uint32_t CodeOf(const std::function<void()>& call);

// B64 is the base64 text of a byte string.
std::string B64(const std::string& bytes);
std::vector<uint8_t> Bytes(const std::string& text);

// Masked blanks out what differs between two signatures of the same data: SignId and SignTimeUTC.
std::string Masked(std::string container);

// CompactJson parses a JSON text and writes it back compactly.
std::string CompactJson(const std::string& text);

// Json is the compact JSON text of a record, a request or response, a parsed value, or of printed
// JSON text, so that what a tool prints compares with what a record writes.
template <typename T>
std::string Json(const T& value) {
    if constexpr (std::is_convertible_v<const T&, std::string>) {
        return CompactJson(value);
    } else {
        rapidjson::StringBuffer buffer;
        if constexpr (std::is_base_of_v<ca::SerializableContainer, T>) {
            value.ToJson(buffer);
        } else if constexpr (std::is_base_of_v<ca::JsonValue, T>) {
            ca::JsonWriter writer(buffer);
            value.Accept(writer);
        } else {
            ca::JsonWriter writer(buffer);
            value.ToJson(writer);
        }
        return buffer.GetString();
    }
}
