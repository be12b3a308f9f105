#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/SpecialFolder.h"
#include "ca/Serializable.h"

// After ca/Json.h, which configures RapidJSON for every unit.
#include <rapidjson/prettywriter.h>

namespace ca {

using JsonPrettyWriter = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

// ConfigFileParser holds the service configuration ("OruCryptoSvcConfig.ini"): the host's keys and
// the few the module uses, each with its default and range (see kConfigKeys), and three lists. It
// travels in the envelope as the "config" record (type 11), whose members are the file's own names:
// the keys of kConfigKeys in their order, then the lists as arrays of strings named after their
// sections ("Dll extensions", "Custom CDP list", "Custom error handlers").
class ConfigFileParser : public ISerializable {
public:
    ConfigFileParser() { ClearAll(); }

    // FromJson takes the members present; a member of the wrong type throws Exception(16300), a
    // number outside its key's range is ignored as when reading the file.
    void FromJson(const JsonValue& value) override;
    void ToJson(JsonWriter& writer) const override;
    void ToPrettyJson(JsonPrettyWriter& writer) const;
    int GetType() const override { return kTypeConfig; }

    // ClearAll resets every key to its default and empties the three lists.
    void ClearAll();

    // ReadConfig reads the file at GetConfigPath() with ParseConfigFile. serviceMode is the host's
    // flag; the reading is the same in both modes (the caller decides what to show).
    bool ReadConfig(std::wstring& errorText, bool serviceMode);

    // ParseConfigFile resets to the defaults, then reads the file value by value:
    // - missing or unreadable file: false, errorText is message 151;
    // - a number that is no 32-bit number: false, errorText is the conversion's error text
    //   ("stoi"); the keys before it stay, the lists and the language are not read;
    // - "Dll extensions" entries that are no existing files: true, errorText is message 366 and
    //   those paths (the list itself stays as written: the host decides what to load);
    // otherwise true with errorText empty. Out-of-range numbers keep their defaults silently. At
    // the end "Language" selects the message language.
    bool ParseConfigFile(std::wstring& errorText);
    // ParseConfigText reads bytes, the file's text, exactly as ParseConfigFile reads the file, with
    // the same results except that there is no file to miss.
    bool ParseConfigText(const std::string& bytes, std::wstring& errorText);

    // GetConfigDir is the configuration folder: the special folder of that kind + "/OruCryptoSvc".
    static std::wstring GetConfigDir(ConfigType type = ConfigType::kUser);
    // GetConfigPath is GetConfigDir() + "/OruCryptoSvcConfig.ini".
    static std::wstring GetConfigPath(ConfigType type = ConfigType::kUser);

    // WriteConfigFile writes every value to GetConfigPath() (folders created when missing, a new
    // file readable by its owner only: it holds passwords). The first line is a comment carrying
    // the SHA-1 of the rest of the file's bytes ("# SHA-1 of the lines below: <40 hex>", no "=" so
    // that readers skip it); then "[Service settings]" with every key in table order, and the three
    // list sections with their entries as keys "1", "2", ... in list order. The file is replaced
    // atomically (WriteFileAtomic): a reader sees the old file or the new one, never a part. With
    // replace false an existing file is kept. False when a value holds a line break (it could not be
    // read back; errorText names the key or list) or when the file cannot be written (errorText is
    // message 151, ": " and the reason).
    bool WriteConfigFile(std::wstring& errorText, bool replace = true) const;

    int logMode;
    std::wstring logFile;
    bool showTrayIcon;
    bool ignoreUnknownRevocationStatus;
    bool forceCRLDownload;
    bool useOnlyCustomCDPs;
    bool allowServicePrivateKeyAccess;
    bool allowRemotePrivateKeyAccess;
    std::wstring redirectUrl;
    bool enableHttp;
    bool enableDedicatedHttpPort;
    bool enableDedicatedHttpsPort;
    bool enableHttps;
    int httpPort;
    int httpsPort;
    bool enableAuth;
    bool checkSignCertExpired;
    bool fullCheckSignCert;
    bool allowRemoteServerStoragesAccess;
    std::wstring authUsername;
    std::wstring authPassword;
    bool checkOCSP;
    std::wstring ocspFileName;
    std::wstring proxyLogin;
    std::wstring proxyPassword;
    std::wstring proxyAddress;
    int proxyPort;
    int proxyType;
    int ocspTimeout;
    int tspTimeout;
    int generalTimeout;
    int crlTimeout;
    bool unloadPFXAfterUsage;
    std::wstring defaultModule;
    std::wstring language;
    std::wstring certManUrl;
    bool enableCertMan;
    std::wstring tspUrl;
    int certInclude;

    std::vector<std::wstring> dllExtensions;
    std::vector<std::wstring> customCdpList;
    std::vector<std::wstring> customErrorHandlers;
};

enum class ConfigKeyType { kInt, kBool, kString };

// SConfigKey is one row of the "Service settings" section, in file order.
struct SConfigKey {
    const wchar_t* name;
    ConfigKeyType type;
    int minValue;
    int maxValue;
    int defaultNumber;  // kInt and kBool (0/1)
    const wchar_t* defaultText;
    int ConfigFileParser::*intField;
    bool ConfigFileParser::*boolField;
    std::wstring ConfigFileParser::*textField;
};

extern const SConfigKey kConfigKeys[39];

// SConfigList is one list section: its name (also its JSON member) and the field it fills.
struct SConfigList {
    const wchar_t* name;
    std::vector<std::wstring> ConfigFileParser::*field;
};

extern const SConfigList kConfigLists[3];

constexpr wchar_t kServiceSettings[] = L"Service settings";

}  // namespace ca
