#include "config/ConfigFileParser.h"

#include <algorithm>
#include <climits>
#include <exception>
#include <iterator>

#include "asn1/sha1.h"
#include "base/Encode.h"
#include "base/FileUtil.h"
#include "base/Lng.h"
#include "config/inifile.h"

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

const SConfigList kConfigLists[3] = {
    {L"Dll extensions", &P::dllExtensions},
    {L"Custom CDP list", &P::customCdpList},
    {L"Custom error handlers", &P::customErrorHandlers},
};

namespace {

constexpr wchar_t kConfigFolder[] = L"/OruCryptoSvc";
constexpr wchar_t kConfigFile[] = L"/OruCryptoSvcConfig.ini";
constexpr char kHashHeader[] = "# SHA-1 of the lines below: ";

bool InRange(const SConfigKey& key, int value) { return value >= key.minValue && value <= key.maxValue; }

// ReadKey applies one key's text. std::stoi throws std::invalid_argument or std::out_of_range for
// text that is no 32-bit number; the caller turns that into the reading's error.
void ReadKey(ConfigFileParser& config, const SConfigKey& key, const std::wstring& text) {
    switch (key.type) {
        case ConfigKeyType::kInt: {
            const int value = std::stoi(text, nullptr, 10);
            if (InRange(key, value)) {
                config.*key.intField = value;
            }
            break;
        }
        case ConfigKeyType::kBool: {
            const int value = std::stoi(text, nullptr, 10);
            if (value >= 0) {
                config.*key.boolField = value != 0;
            }
            break;
        }
        case ConfigKeyType::kString:
            config.*key.textField = text;
            break;
    }
}

// IsIndex tells whether a list key is a decimal index ("1", "2", ...).
bool IsIndex(const std::wstring& name) {
    return !name.empty() &&
           std::all_of(name.begin(), name.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

// IndexLess compares two decimal indexes of any length by value.
bool IndexLess(const std::wstring& a, const std::wstring& b) {
    const size_t za = std::min(a.find_first_not_of(L'0'), a.size());
    const size_t zb = std::min(b.find_first_not_of(L'0'), b.size());
    if (a.size() - za != b.size() - zb) {
        return a.size() - za < b.size() - zb;
    }
    return a.compare(za, std::wstring::npos, b, zb, std::wstring::npos) < 0;
}

// ReadList returns a list section's values: keys "1", "2", ... in number order (the file's sorted
// order would put "10" before "2"), then any other keys in the file's order.
std::vector<std::wstring> ReadList(const CIniSectionW* section) {
    std::vector<const CIniKeyW*> keys;
    if (section != nullptr) {
        for (const auto& key : section->GetKeys()) {
            keys.push_back(key.get());
        }
    }
    std::stable_sort(keys.begin(), keys.end(), [](const CIniKeyW* a, const CIniKeyW* b) {
        const bool ia = IsIndex(a->GetKeyName());
        const bool ib = IsIndex(b->GetKeyName());
        return ia && ib ? IndexLess(a->GetKeyName(), b->GetKeyName()) : ia && !ib;
    });
    std::vector<std::wstring> values;
    values.reserve(keys.size());
    for (const CIniKeyW* key : keys) {
        values.push_back(key->GetValue());
    }
    return values;
}

bool HasLineBreak(const std::wstring& text) { return text.find_first_of(L"\r\n") != std::wstring::npos; }

std::wstring KeyText(const ConfigFileParser& config, const SConfigKey& key) {
    switch (key.type) {
        case ConfigKeyType::kInt:
            return std::to_wstring(config.*key.intField);
        case ConfigKeyType::kBool:
            return config.*key.boolField ? L"1" : L"0";
        case ConfigKeyType::kString:
            break;
    }
    return config.*key.textField;
}

template <typename Writer>
void WriteText(Writer& writer, const std::wstring& text) {
    const std::string utf8 = u16u8(text);
    writer.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

template <typename Writer>
void WriteName(Writer& writer, const wchar_t* name) {
    const std::string utf8 = u16u8(name);
    writer.Key(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

template <typename Writer>
void WriteConfig(const ConfigFileParser& config, Writer& writer) {
    writer.StartObject();
    for (const SConfigKey& key : kConfigKeys) {
        WriteName(writer, key.name);
        switch (key.type) {
            case ConfigKeyType::kInt:
                writer.Int(config.*key.intField);
                break;
            case ConfigKeyType::kBool:
                writer.Bool(config.*key.boolField);
                break;
            case ConfigKeyType::kString:
                WriteText(writer, config.*key.textField);
                break;
        }
    }
    for (const SConfigList& list : kConfigLists) {
        WriteName(writer, list.name);
        writer.StartArray();
        for (const std::wstring& entry : config.*list.field) {
            WriteText(writer, entry);
        }
        writer.EndArray();
    }
    writer.EndObject();
}

}  // namespace

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

void ConfigFileParser::FromJson(const JsonValue& value) {
    for (const SConfigKey& key : kConfigKeys) {
        const JsonValue* member = FindMember(value, u16u8(key.name).c_str());
        if (member == nullptr) {
            continue;
        }
        switch (key.type) {
            case ConfigKeyType::kInt:
                if (!member->IsInt()) {
                    throw Exception(kJsonError);
                }
                if (InRange(key, member->GetInt())) {
                    this->*key.intField = member->GetInt();
                }
                break;
            case ConfigKeyType::kBool:
                if (!member->IsBool()) {
                    throw Exception(kJsonError);
                }
                this->*key.boolField = member->GetBool();
                break;
            case ConfigKeyType::kString:
                ExpectString(*member);
                this->*key.textField = u8u16(member->GetString(), member->GetStringLength());
                break;
        }
    }
    for (const SConfigList& list : kConfigLists) {
        const JsonValue* member = FindMember(value, u16u8(list.name).c_str());
        if (member == nullptr) {
            continue;
        }
        if (!member->IsArray()) {
            throw Exception(kJsonError);
        }
        std::vector<std::wstring> entries;
        for (const JsonValue& entry : member->GetArray()) {
            ExpectString(entry);
            entries.push_back(u8u16(entry.GetString(), entry.GetStringLength()));
        }
        this->*list.field = std::move(entries);
    }
}

void ConfigFileParser::ToJson(JsonWriter& writer) const { WriteConfig(*this, writer); }

void ConfigFileParser::ToPrettyJson(JsonPrettyWriter& writer) const { WriteConfig(*this, writer); }

std::wstring ConfigFileParser::GetConfigDir(ConfigType type) {
    return u8u16(GetSpecialFolder(type)) + kConfigFolder;
}

std::wstring ConfigFileParser::GetConfigPath(ConfigType type) { return GetConfigDir(type) + kConfigFile; }

bool ConfigFileParser::ReadConfig(std::wstring& errorText, bool /*serviceMode*/) {
    errorText.clear();
    return ParseConfigFile(errorText);
}

bool ConfigFileParser::ParseConfigFile(std::wstring& errorText) {
    std::string bytes;
    if (!FileToString(u16u8(GetConfigPath()), bytes)) {
        ClearAll();
        errorText = SetVALKOMessage(msg::kConfigOpenFailed);
        return false;
    }
    return ParseConfigText(bytes, errorText);
}

bool ConfigFileParser::ParseConfigText(const std::string& bytes, std::wstring& errorText) {
    ClearAll();
    CIniFileW ini;
    ini.LoadFromBytes(bytes);
    const CIniSectionW* settings = ini.GetSection(kServiceSettings);
    if (settings != nullptr) {
        for (const SConfigKey& key : kConfigKeys) {
            const CIniKeyW* found = settings->GetKey(key.name);
            if (found == nullptr) {
                continue;
            }
            try {
                ReadKey(*this, key, found->GetValue());
            } catch (const std::exception& e) {
                // Deliberate: the reading stops here; the keys before stay, the rest keep defaults.
                errorText = u8u16(e.what());
                return false;
            }
        }
    }
    for (const SConfigList& list : kConfigLists) {
        this->*list.field = ReadList(ini.GetSection(list.name));
    }
    std::wstring unusable;
    for (const std::wstring& path : dllExtensions) {
        if (!IsRegularFile(u16u8(path))) {
            unusable += (unusable.empty() ? L"" : L", ") + path;
        }
    }
    if (!unusable.empty()) {
        errorText = SetVALKOMessage(msg::kDllsNotLoaded) + unusable;
    }
    SetVALKOLng(language.c_str());
    return true;
}

bool ConfigFileParser::WriteConfigFile(std::wstring& errorText, bool replace) const {
    errorText.clear();
    std::wstring body = std::wstring(L"[") + kServiceSettings + L"]\n";
    for (const SConfigKey& key : kConfigKeys) {
        const std::wstring value = KeyText(*this, key);
        if (HasLineBreak(value)) {
            errorText = key.name;
            return false;
        }
        body += key.name + (L"=" + value) + L"\n";
    }
    for (const SConfigList& list : kConfigLists) {
        body += std::wstring(L"\n[") + list.name + L"]\n";
        size_t index = 0;
        for (const std::wstring& entry : this->*list.field) {
            if (HasLineBreak(entry)) {
                errorText = list.name;
                return false;
            }
            body += std::to_wstring(++index) + L"=" + entry + L"\n";
        }
    }
    // The fingerprint covers the bytes as written: UTF-8, widened byte by byte for SHA1.
    const std::string bytes = u16u8(body);
    std::wstring widened;
    widened.reserve(bytes.size());
    for (const char c : bytes) {
        widened += static_cast<wchar_t>(static_cast<unsigned char>(c));
    }
    const std::wstring hash = SHA1::GetHash(widened);
    const std::string text = kHashHeader + std::string(hash.begin(), hash.end()) + "\n" + bytes;
    const std::string dir = u16u8(GetConfigDir());
    std::string problem = "cannot create the folder '" + dir + "'";
    if (!TryCreateDir(dir) ||
        !WriteFileAtomic(u16u8(GetConfigPath()), text.data(), text.size(), 0600, replace, problem)) {
        errorText = std::wstring(SetVALKOMessage(msg::kConfigOpenFailed)) + L": " + u8u16(problem);
        return false;
    }
    return true;
}

}  // namespace ca
