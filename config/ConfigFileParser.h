#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ca {

// ConfigFileParser holds the service configuration ("OruCryptoSvcConfig.ini"): the host's keys and
// the few the module uses, each with its default and range (see kConfigKeys).
class ConfigFileParser {
public:
    ConfigFileParser() { ClearAll(); }

    // ClearAll resets every key to its default and empties the three lists.
    void ClearAll();

    // ReadConfig resets to defaults and reads what it can; false with errorText when reading
    // failed. The file itself is not read yet: the defaults stand.
    bool ReadConfig(std::wstring& errorText, bool serviceMode);

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

}  // namespace ca
