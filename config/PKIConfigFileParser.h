#pragma once

#include <string>

#include "ca/Serializable.h"

// After ca/Json.h, which configures RapidJSON for every unit.
#include <rapidjson/prettywriter.h>

namespace ca {

// PKIConfigFileParser holds the PKI service's configuration ("OruPKISvcConfig.json") and travels
// in a request as the "PKIConfig" record (type 12).
class PKIConfigFileParser : public ISerializable {
public:
    PKIConfigFileParser() { ClearAll(); }

    // FromJson takes each member only when present and of the right type ("LogMode" and "HttpPort"
    // integers, "LogFileName" and "Language" strings); anything else keeps its value. Never throws
    // for a mistyped member.
    void FromJson(const JsonValue& value) override;
    void ToJson(JsonWriter& writer) const override;
    void ToPrettyJson(rapidjson::PrettyWriter<rapidjson::StringBuffer>& writer) const;
    int GetType() const override { return kTypePKIConfig; }

    // ClearAll sets the defaults and the configuration folder.
    void ClearAll();
    // GetConfigDir is the user's special folder + "/OruPKISvc"; GetConfigPath the file in it.
    static std::wstring GetConfigDir();
    static std::wstring GetConfigPath();
    // ReadConfig and ParseConfigFile reset to the defaults and read the file: false, defaults in
    // place and the language untouched, when it cannot be read or is no JSON object. Otherwise
    // the members are taken as FromJson does and "Language" selects the message language.
    bool ReadConfig();
    bool ParseConfigFile();
    // WriteConfig creates the folder when missing and writes the fields as pretty JSON; false when
    // that fails.
    bool WriteConfig() const;

    int logMode;
    std::wstring logFileName;
    int httpPort;
    std::wstring language;
    std::wstring configDir;
};

}  // namespace ca
