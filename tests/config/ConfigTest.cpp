#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "asn1/sha1.h"
#include "ca/CryptPacket.h"
#include "base/Encode.h"
#include "config/ConfigFileParser.h"
#include "base/FileUtil.h"
#include "config/Network.h"
#include "config/PKIConfigFileParser.h"
#include "module/ClientContext.h"
#include "module/RecordFactory.h"
#include "base/Lng.h"
#include "module/SesModule.h"
#include "tests/support/TestSupport.h"

namespace {

using Values = std::map<std::wstring, std::wstring>;

// ValuesOf shows every key of the "Service settings" table as the file would spell it.
Values ValuesOf(const ca::ConfigFileParser& config) {
    Values values;
    for (const ca::SConfigKey& key : ca::kConfigKeys) {
        switch (key.type) {
            case ca::ConfigKeyType::kInt:
                values[key.name] = std::to_wstring(config.*key.intField);
                break;
            case ca::ConfigKeyType::kBool:
                values[key.name] = config.*key.boolField ? L"1" : L"0";
                break;
            case ca::ConfigKeyType::kString:
                values[key.name] = config.*key.textField;
                break;
        }
    }
    return values;
}

std::string ConfigPath(const CTempHome& home) {
    return home.Path() + "/.config/OruCryptoSvc/OruCryptoSvcConfig.ini";
}

void WriteConfig(const CTempHome& home, const std::string& text) {
    ASSERT_TRUE(ca::TryCreateDir(home.Path() + "/.config/OruCryptoSvc"));
    ASSERT_TRUE(ca::StringToFile(ConfigPath(home), text));
}

struct SReadCase {
    const char* label;
    const char* file;
    bool ok;
    const wchar_t* error;
    std::vector<std::pair<const wchar_t*, const wchar_t*>> changed;  // the rest keep their defaults
    std::vector<std::wstring> cdps;
};

// clang-format off
const SReadCase kReadCases[] = {
    {"empty file", "", true, L"", {}, {}},
    {"comments and unknown keys",
     "# SHA-1 of the lines below: 00\n[Service settings]\n#LogMode=3\nUnknown=1\n", true, L"", {}, {}},
    {"out of range ignored silently",
     "[Service settings]\nLogMode=7\nHttpPort=65536\nProxyPort=0\nProxyType=4\nCertInclude=-1\nTSPTimeout=-1\n",
     true, L"", {}, {}},
    {"range edges taken",
     "[Service settings]\nLogMode=3\nHttpPort=0\nProxyPort=65535\nTSPTimeout=2147483647\nCertInclude=0\n",
     true, L"",
     {{L"LogMode", L"3"}, {L"HttpPort", L"0"}, {L"ProxyPort", L"65535"}, {L"TSPTimeout", L"2147483647"},
      {L"CertInclude", L"0"}}, {}},
    {"booleans are numbers",
     "[Service settings]\nAllowRemotePrivateKeyAccess=-1\nShowTrayIcon=0\nEnableAuth=2\n",
     true, L"", {{L"ShowTrayIcon", L"0"}, {L"EnableAuth", L"1"}}, {}},
    {"remote key access 2", "[Service settings]\nAllowRemotePrivateKeyAccess=2\n",
     true, L"", {{L"AllowRemotePrivateKeyAccess", L"1"}}, {}},
    {"names ignore case, texts stand as written",
     "[service SETTINGS]\nlogmode= 2\nLogFile= my.log \nLANGUAGE=en\nTSPUrl=http://t/?a=b\n",
     true, L"",
     {{L"LogMode", L"2"}, {L"LogFile", L" my.log "}, {L"Language", L"en"}, {L"TSPUrl", L"http://t/?a=b"}}, {}},
    {"repeated key takes the last value", "[Service settings]\nLogMode=1\nLogMode=2\n",
     true, L"", {{L"LogMode", L"2"}}, {}},
    {"section without ] is no section", "[Service settings\nLogMode=2\n", true, L"", {}, {}},
    // Table order decides what was read before the failure: HttpsPort follows HttpPort.
    {"not a number stops the reading",
     "[Service settings]\nHttpsPort=9000\nLogMode=2\nHttpPort=abc\nEnableAuth=1\n[Custom CDP list]\n1=http://x\n",
     false, L"stoi", {{L"LogMode", L"2"}}, {}},
    {"beyond 32 bits stops the reading", "[Service settings]\nLogMode=1\nGeneralTimeout=99999999999\n",
     false, L"stoi", {{L"LogMode", L"1"}}, {}},
    {"an empty number stops the reading", "[Service settings]\nLogMode=\n", false, L"stoi", {}, {}},
    {"lists in index order", "[Custom CDP list]\n2=b\n10=d\nname=z\n1=a\n03= c \n",
     true, L"", {}, {L"a", L"b", L" c ", L"d", L"z"}},
};
// clang-format on

TEST(ConfigRead, FileTextsGiveValues) {
    const Values defaults = ValuesOf(ca::ConfigFileParser());
    for (const auto& c : kReadCases) {
        SCOPED_TRACE(c.label);
        CTempHome home;
        WriteConfig(home, c.file);
        ca::ConfigFileParser config;
        config.logMode = 3;  // reading starts from the defaults
        std::wstring error = L"old";
        EXPECT_EQ(config.ReadConfig(error, true), c.ok);
        EXPECT_EQ(error, c.error);
        Values expected = defaults;
        for (const auto& [key, value] : c.changed) {
            expected[key] = value;
        }
        EXPECT_EQ(ValuesOf(config), expected);
        EXPECT_EQ(config.customCdpList, c.cdps);
    }
    SetVALKOLng(L"en");
}

TEST(ConfigRead, MissingFileFailsWithMessage151AndDefaults) {
    CTempHome home;
    ca::ConfigFileParser config;
    config.httpPort = 1;
    std::wstring error;
    EXPECT_FALSE(config.ReadConfig(error, false));
    EXPECT_EQ(error, L"Failed to open(create) configuration file");
    EXPECT_EQ(ValuesOf(config), ValuesOf(ca::ConfigFileParser()));
    EXPECT_EQ(ca::ConfigFileParser::GetConfigPath(), ca::u8u16(ConfigPath(home)));
}

TEST(ConfigRead, MissingDllsAreReportedWithoutFailing) {
    CTempHome home;
    const std::string present = home.Path() + "/ext.so";
    ASSERT_TRUE(ca::StringToFile(present, "x"));
    WriteConfig(home, "[Dll extensions]\n1=" + present + "\n2=/nonexistent/a.so\n3=" + home.Path() + "\n");
    ca::ConfigFileParser config;
    std::wstring error;
    EXPECT_TRUE(config.ReadConfig(error, true));
    EXPECT_EQ(error,
              L"Unable to load following dlls (the program will start working without adding them): "
              L"/nonexistent/a.so, " +
                  ca::u8u16(home.Path()));
    EXPECT_EQ(config.dllExtensions.size(), 3u);  // the host decides what to load
}

TEST(ConfigRead, LanguageIsAppliedOnlyWhenTheReadingCompletes) {
    SetVALKOLng(L"en");
    {
        CTempHome home;
        WriteConfig(home, "[Service settings]\nLanguage=ru\nCertInclude=x\n");
        ca::ConfigFileParser config;
        std::wstring error;
        EXPECT_FALSE(config.ReadConfig(error, true));
        EXPECT_EQ(config.language, L"ru");  // read, but the reading stopped before applying it
        EXPECT_EQ(GetVALKOLng(), kLangEnglish);
    }
    {
        CTempHome home;
        WriteConfig(home, "[Service settings]\nLanguage=RU\n");
        ca::ConfigFileParser config;
        std::wstring error;
        EXPECT_TRUE(config.ReadConfig(error, true));
        EXPECT_EQ(GetVALKOLng(), kLangRussian);
    }
    SetVALKOLng(L"en");
}

// NonDefaults gives every key and list a value other than its default, with the characters a
// writer could get wrong: non-ASCII text, blanks at both ends, "=" inside, more than nine entries.
ca::ConfigFileParser NonDefaults(const CTempHome& home) {
    ca::ConfigFileParser config;
    for (const ca::SConfigKey& key : ca::kConfigKeys) {
        switch (key.type) {
            case ca::ConfigKeyType::kInt:
                config.*key.intField = key.maxValue != key.defaultNumber ? key.maxValue : key.minValue;
                break;
            case ca::ConfigKeyType::kBool:
                config.*key.boolField = key.defaultNumber == 0;
                break;
            case ca::ConfigKeyType::kString:
                config.*key.textField = std::wstring(L" значение=") + key.name + L" ";
                break;
        }
    }
    for (int i = 1; i <= 2; ++i) {
        const std::string path = home.Path() + "/ext" + std::to_string(i) + ".so";
        ca::StringToFile(path, "x");
        config.dllExtensions.push_back(ca::u8u16(path));
    }
    for (int i = 1; i <= 12; ++i) {
        config.customCdpList.push_back(L"http://cdp.example/" + std::to_wstring(i));
    }
    config.customCdpList.push_back(L"");
    config.customErrorHandlers = {L" обработчик "};
    return config;
}

TEST(ConfigWrite, WrittenFileReadsBackTheSameValues) {
    CTempHome home;
    const ca::ConfigFileParser written = NonDefaults(home);
    std::wstring error;
    ASSERT_TRUE(written.WriteConfigFile(error)) << ca::u16u8(error);

    ca::ConfigFileParser read;
    EXPECT_TRUE(read.ReadConfig(error, true));
    EXPECT_EQ(error, L"");
    EXPECT_EQ(ValuesOf(read), ValuesOf(written));
    EXPECT_EQ(read.dllExtensions, written.dllExtensions);
    EXPECT_EQ(read.customCdpList, written.customCdpList);
    EXPECT_EQ(read.customErrorHandlers, written.customErrorHandlers);

    struct stat info {};
    ASSERT_EQ(stat(ConfigPath(home).c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0077, 0u);  // passwords inside
    SetVALKOLng(L"en");
}

TEST(ConfigWrite, HeaderLineCarriesTheSha1OfTheRestAndIsSkipped) {
    CTempHome home;
    std::wstring error;
    ASSERT_TRUE(ca::ConfigFileParser().WriteConfigFile(error));
    std::string text;
    ASSERT_TRUE(ca::FileToString(ConfigPath(home), text));
    const size_t lineEnd = text.find('\n');
    ASSERT_NE(lineEnd, std::string::npos);
    const std::string header = text.substr(0, lineEnd);
    const std::string rest = text.substr(lineEnd + 1);

    const std::string prefix = "# SHA-1 of the lines below: ";
    ASSERT_EQ(header.size(), prefix.size() + 40);
    EXPECT_EQ(header.substr(0, prefix.size()), prefix);
    EXPECT_EQ(header.find('='), std::string::npos);  // a "#" line with "=" would be read as a key
    EXPECT_EQ(ca::u8u16(header.substr(prefix.size())), SHA1::GetHash(ca::u8u16(rest)));  // ASCII only here
    const std::string head = "[Service settings]\nLogMode=0\nLogFile=OruCryptoSvc.log\nShowTrayIcon=1\n";
    const std::string tail =
        "CertInclude=2\n\n[Dll extensions]\n\n[Custom CDP list]\n\n[Custom error handlers]\n";
    ASSERT_GT(rest.size(), head.size() + tail.size());
    EXPECT_EQ(rest.substr(0, head.size()), head);
    EXPECT_EQ(rest.substr(rest.size() - tail.size()), tail);

    ca::ConfigFileParser read;
    read.logMode = 1;
    EXPECT_TRUE(read.ReadConfig(error, true));
    EXPECT_EQ(ValuesOf(read), ValuesOf(ca::ConfigFileParser()));
}

TEST(ConfigWrite, LineBreaksInValuesAreRefused) {
    CTempHome home;
    ca::ConfigFileParser config;
    config.proxyPassword = L"x\nAllowRemotePrivateKeyAccess=1";
    std::wstring error;
    EXPECT_FALSE(config.WriteConfigFile(error));
    EXPECT_EQ(error, L"ProxyPassword");
    config.proxyPassword.clear();
    config.customErrorHandlers = {L"a\rb"};
    EXPECT_FALSE(config.WriteConfigFile(error));
    EXPECT_EQ(error, L"Custom error handlers");
    EXPECT_FALSE(ca::IsRegularFile(ConfigPath(home)));
}

TEST(ConfigWrite, UnwritableFolderGivesMessage151) {
    CTempHome home;
    ASSERT_TRUE(ca::StringToFile(home.Path() + "/.config", "a file where the folder should be"));
    std::wstring error;
    EXPECT_FALSE(ca::ConfigFileParser().WriteConfigFile(error));
    EXPECT_EQ(error.rfind(L"Failed to open(create) configuration file: cannot create the folder '", 0), 0u)
        << ca::u16u8(error);
}

std::string ToJsonText(const ca::ISerializable& record) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    record.ToJson(writer);
    return buffer.GetString();
}

TEST(ConfigJson, DefaultsInTableOrder) {
    EXPECT_EQ(
        ToJsonText(ca::ConfigFileParser()),
        R"({"LogMode":0,"LogFile":"OruCryptoSvc.log","ShowTrayIcon":true,"IgnoreUnknownRevocationStatus":false,)"
        R"("ForceCRLDownload":false,"UseOnlyCustomCDPs":false,"AllowServicePrivateKeyAccess":false,)"
        R"("AllowRemotePrivateKeyAccess":false,"RedirectUrl":"","EnableHttp":true,"EnableDedicatedHttpPort":true,)"
        R"("EnableDedicatedHttpsPort":false,"EnableHttps":false,"HttpPort":8080,"HttpsPort":8081,)"
        R"("EnableAuth":false,"CheckSignCertExpired":true,"FullCheckSignCert":false,)"
        R"("AllowRemoteServerStoragesAccess":false,"AuthUsername":"","AuthPassword":"","CheckOCSP":false,)"
        R"("OCSPFileName":"","ProxyLogin":"","ProxyPassword":"","ProxyAddress":"","ProxyPort":80,)"
        R"("ProxyType":0,"OCSPTimeout":30000,"TSPTimeout":30000,"GeneralTimeout":30000,"CRLTimeout":30000,)"
        R"("UnloadPFXAfterUsage":true,"DefaultModule":"","Language":"","CertManUrl":"","EnableCertMan":false,)"
        R"("TSPUrl":"","CertInclude":2,"Dll extensions":[],"Custom CDP list":[],"Custom error handlers":[]})");
}

TEST(ConfigJson, ReadBackGivesTheSameValues) {
    CTempHome home;
    const ca::ConfigFileParser written = NonDefaults(home);
    const std::string text = ToJsonText(written);
    rapidjson::Document document;
    ca::ParseJson(document, text.data(), text.size());
    ca::ConfigFileParser read;
    read.FromJson(document);
    EXPECT_EQ(ValuesOf(read), ValuesOf(written));
    EXPECT_EQ(read.dllExtensions, written.dllExtensions);
    EXPECT_EQ(read.customCdpList, written.customCdpList);
    EXPECT_EQ(read.customErrorHandlers, written.customErrorHandlers);
    EXPECT_EQ(ToJsonText(read), text);
}

TEST(ConfigJson, WrongTypesThrow16300AndOutOfRangeIsIgnored) {
    const char* const wrong[] = {
        R"([])",
        R"({"LogMode":"1"})",
        R"({"LogMode":1.5})",
        R"({"LogMode":4294967295})",
        R"({"ShowTrayIcon":1})",
        R"({"LogFile":1})",
        R"({"Dll extensions":"x"})",
        R"({"Custom CDP list":[1]})",
    };
    for (const char* text : wrong) {
        SCOPED_TRACE(text);
        rapidjson::Document document;
        ca::ParseJson(document, text, std::strlen(text));
        ca::ConfigFileParser config;
        try {
            config.FromJson(document);
            ADD_FAILURE() << "no exception";
        } catch (const ca::Exception& e) {
            EXPECT_EQ(e.code, 16300u);
        }
    }
    const std::string text = R"({"LogMode":7,"ProxyPort":0,"HttpPort":-1,"Unknown":true})";
    rapidjson::Document document;
    ca::ParseJson(document, text.data(), text.size());
    ca::ConfigFileParser config;
    config.FromJson(document);
    EXPECT_EQ(ValuesOf(config), ValuesOf(ca::ConfigFileParser()));
}

TEST(ConfigJson, RequestCarriesConfigAndPKIConfig) {
    std::string text =
        R"({"mode":37,"config":{"LogMode":3,"Custom CDP list":["a"]},"PKIConfig":{"HttpPort":1}})";
    text.push_back('\0');
    ca::InstallModuleRecords();  // the configuration records come from the module's factory
    ca::CryptRequest request;
    request.FromJson(text.data(), static_cast<uint32_t>(text.size()));
    const auto* config = dynamic_cast<const ca::ConfigFileParser*>(request.GetObject(ca::kTypeConfig));
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(config->logMode, 3);
    EXPECT_EQ(config->customCdpList, std::vector<std::wstring>{L"a"});
    EXPECT_EQ(config->httpPort, 8080);
    const auto* pki = dynamic_cast<const ca::PKIConfigFileParser*>(request.GetObject(ca::kTypePKIConfig));
    ASSERT_NE(pki, nullptr);
    EXPECT_EQ(pki->httpPort, 1);
    EXPECT_EQ(pki->language, L"Ru");
}

TEST(ConfigModule, ValuesReachTheInitStringAndTheHttpClient) {
    CTempHome home;
    WriteConfig(home,
                "[Service settings]\nProxyLogin=user\nProxyPassword=secret\nProxyAddress=proxy.test\n"
                "ProxyPort=3128\nProxyType=2\nTSPTimeout=1234\nGeneralTimeout=1500\n");
    const ca::HttpSettings before = ca::Http::Settings();
    CSesModule module(true);
    ASSERT_TRUE(module.ReadConfig());
    const ca::HttpSettings http = ca::Http::Settings();
    ca::Http::Configure(before);
    EXPECT_EQ(http.proxyAddress, "proxy.test");
    EXPECT_EQ(http.proxyPort, 3128);
    EXPECT_EQ(http.proxyType, 2);
    EXPECT_EQ(http.proxyLogin, "user");
    EXPECT_EQ(http.proxyPassword, "secret");
    EXPECT_EQ(http.generalTimeoutMs, 1500);
    EXPECT_EQ(http.maxDownload, before.maxDownload);

    ca::CryptPacket packet;
    packet.request.mode = 37;
    packet.request.clientId = L"c";
    const CCallContext call(packet, module, module.contexts);
    EXPECT_EQ(call.initString, L"TSP_INET_TIMEOUT=1234;SERVICE_MODE=TRUE;");
}

}  // namespace
