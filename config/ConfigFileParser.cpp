#include "config/ConfigFileParser.h"

#include <climits>
#include <iterator>

#include "module/Lng.h"

namespace ca {

namespace {

using P = ConfigFileParser;

constexpr SConfigKey Int(const wchar_t* name, int lo, int hi, int def, int P::*field) {
    return {name, ConfigKeyType::kInt, lo, hi, def, nullptr, field, nullptr, nullptr};
}
constexpr SConfigKey Bool(const wchar_t* name, bool def, bool P::*field) {
    return {name, ConfigKeyType::kBool, 0, INT_MAX, def ? 1 : 0, nullptr, nullptr, field, nullptr};
}
constexpr SConfigKey Text(const wchar_t* name, const wchar_t* def, std::wstring P::*field) {
    return {name, ConfigKeyType::kString, 0, 0, 0, def, nullptr, nullptr, field};
}

}  // namespace

const SConfigKey kConfigKeys[39] = {
    Int(L"LogMode", 0, 3, 0, &P::logMode),
    Text(L"LogFile", L"OruCryptoSvc.log", &P::logFile),
    Bool(L"ShowTrayIcon", true, &P::showTrayIcon),
    Bool(L"IgnoreUnknownRevocationStatus", false, &P::ignoreUnknownRevocationStatus),
    Bool(L"ForceCRLDownload", false, &P::forceCRLDownload),
    Bool(L"UseOnlyCustomCDPs", false, &P::useOnlyCustomCDPs),
    Bool(L"AllowServicePrivateKeyAccess", false, &P::allowServicePrivateKeyAccess),
    Bool(L"AllowRemotePrivateKeyAccess", false, &P::allowRemotePrivateKeyAccess),
    Text(L"RedirectUrl", L"", &P::redirectUrl),
    Bool(L"EnableHttp", true, &P::enableHttp),
    Bool(L"EnableDedicatedHttpPort", true, &P::enableDedicatedHttpPort),
    Bool(L"EnableDedicatedHttpsPort", false, &P::enableDedicatedHttpsPort),
    Bool(L"EnableHttps", false, &P::enableHttps),
    Int(L"HttpPort", 0, 65535, 8080, &P::httpPort),
    Int(L"HttpsPort", 0, 65535, 8081, &P::httpsPort),
    Bool(L"EnableAuth", false, &P::enableAuth),
    Bool(L"CheckSignCertExpired", true, &P::checkSignCertExpired),
    Bool(L"FullCheckSignCert", false, &P::fullCheckSignCert),
    Bool(L"AllowRemoteServerStoragesAccess", false, &P::allowRemoteServerStoragesAccess),
    Text(L"AuthUsername", L"", &P::authUsername),
    Text(L"AuthPassword", L"", &P::authPassword),
    Bool(L"CheckOCSP", false, &P::checkOCSP),
    Text(L"OCSPFileName", L"", &P::ocspFileName),
    Text(L"ProxyLogin", L"", &P::proxyLogin),
    Text(L"ProxyPassword", L"", &P::proxyPassword),
    Text(L"ProxyAddress", L"", &P::proxyAddress),
    Int(L"ProxyPort", 1, 65535, 80, &P::proxyPort),
    Int(L"ProxyType", 0, 3, 0, &P::proxyType),
    Int(L"OCSPTimeout", 0, INT_MAX, 30000, &P::ocspTimeout),
    Int(L"TSPTimeout", 0, INT_MAX, 30000, &P::tspTimeout),
    Int(L"GeneralTimeout", 0, INT_MAX, 30000, &P::generalTimeout),
    Int(L"CRLTimeout", 0, INT_MAX, 30000, &P::crlTimeout),
    Bool(L"UnloadPFXAfterUsage", true, &P::unloadPFXAfterUsage),
    Text(L"DefaultModule", L"", &P::defaultModule),
    Text(L"Language", L"", &P::language),
    Text(L"CertManUrl", L"", &P::certManUrl),
    Bool(L"EnableCertMan", false, &P::enableCertMan),
    Text(L"TSPUrl", L"", &P::tspUrl),
    Int(L"CertInclude", 0, 2, 2, &P::certInclude),
};

void ConfigFileParser::ClearAll() {
    for (const SConfigKey& key : kConfigKeys) {
        switch (key.type) {
            case ConfigKeyType::kInt:
                this->*key.intField = key.defaultNumber;
                break;
            case ConfigKeyType::kBool:
                this->*key.boolField = key.defaultNumber != 0;
                break;
            case ConfigKeyType::kString:
                this->*key.textField = key.defaultText;
                break;
        }
    }
    dllExtensions.clear();
    customCdpList.clear();
    customErrorHandlers.clear();
}

bool ConfigFileParser::ReadConfig(std::wstring& errorText, bool /*serviceMode*/) {
    ClearAll();
    errorText.clear();
    SetVALKOLng(language.c_str());
    return true;
}

}  // namespace ca
