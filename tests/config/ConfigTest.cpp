#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "asn1/sha1.h"
#include "base/Encode.h"
#include "base/FileUtil.h"
#include "base/Lng.h"
#include "ca/CryptPacket.h"
#include "config/ConfigFileParser.h"
#include "config/InitStringParser.h"
#include "config/Network.h"
#include "config/PKIConfigFileParser.h"
#include "module/ClientContext.h"
#include "module/RecordFactory.h"
#include "module/SesModule.h"
#include "tests/support/TestSupport.h"

namespace {

// FromJson is a configuration with the members of a JSON text and defaults for the rest.
ca::ConfigFileParser FromJson(const std::string& text) {
    rapidjson::Document document;
    ca::ParseJson(document, text.data(), text.size());
    ca::ConfigFileParser config;
    config.FromJson(document);
    return config;
}

// clang-format off
const struct {
    const char* label;
    const char* file;  // null: no file
    bool ok;
    const wchar_t* error;
    const char* changed;  // the values that differ from the defaults, as JSON
    uint32_t language;    // afterwards; English before
} kReadCases[] = {
    {"no file", nullptr, false, L"Failed to open(create) configuration file", "{}", kLangEnglish},
    {"empty file", "", true, L"", "{}", kLangEnglish},
    {"comments and unknown keys", "# SHA-1 of the lines below: 00\n[Service settings]\n#LogMode=3\nUnknown=1\n", true,
     L"", "{}", kLangEnglish},
    {"out of range ignored silently",
     "[Service settings]\nLogMode=7\nHttpPort=65536\nProxyPort=0\nProxyType=4\nCertInclude=-1\nTSPTimeout=-1\n", true,
     L"", "{}", kLangEnglish},
    {"range edges taken",
     "[Service settings]\nLogMode=3\nHttpPort=0\nProxyPort=65535\nTSPTimeout=2147483647\nCertInclude=0\n", true, L"",
     R"({"LogMode":3,"HttpPort":0,"ProxyPort":65535,"TSPTimeout":2147483647,"CertInclude":0})", kLangEnglish},
    {"booleans are numbers",
     "[Service settings]\nAllowRemotePrivateKeyAccess=2\nShowTrayIcon=0\nEnableAuth=-1\nCheckOCSP=1\n", true, L"",
     R"({"AllowRemotePrivateKeyAccess":true,"ShowTrayIcon":false,"CheckOCSP":true})", kLangEnglish},
    {"names ignore case, texts stand as written",
     "[service SETTINGS]\nlogmode= 2\nLogFile= my.log \nLANGUAGE=RU\nTSPUrl=http://t/?a=b\n", true, L"",
     R"({"LogMode":2,"LogFile":" my.log ","Language":"RU","TSPUrl":"http://t/?a=b"})", kLangRussian},
    {"repeated key takes the last value", "[Service settings]\nLogMode=1\nLogMode=2\n", true, L"", R"({"LogMode":2})",
     kLangEnglish},
    {"section without ] is no section", "[Service settings\nLogMode=2\n", true, L"", "{}", kLangEnglish},
    // Table order decides what was read before the failure: HttpsPort follows HttpPort.
    {"not a number stops the reading",
     "[Service settings]\nHttpsPort=9000\nLogMode=2\nHttpPort=abc\nEnableAuth=1\n[Custom CDP list]\n1=http://x\n",
     false, L"stoi", R"({"LogMode":2})", kLangEnglish},
    {"the language is applied only when the reading completes", "[Service settings]\nLanguage=ru\nCertInclude=x\n",
     false, L"stoi", R"({"Language":"ru"})", kLangEnglish},
    {"beyond 32 bits stops the reading", "[Service settings]\nLogMode=1\nGeneralTimeout=99999999999\n", false, L"stoi",
     R"({"LogMode":1})", kLangEnglish},
    {"an empty number stops the reading", "[Service settings]\nLogMode=\n", false, L"stoi", "{}", kLangEnglish},
    {"lists in index order", "[Custom CDP list]\n2=b\n10=d\nname=z\n1=a\n03= c \n", true, L"",
     R"({"Custom CDP list":["a","b"," c ","d","z"]})", kLangEnglish},
};
// clang-format on

TEST(ConfigRead, FileTextsGiveValues) {
    for (const auto& c : kReadCases) {
        SCOPED_TRACE(c.label);
        CTempHome home;
        CLanguageScope language(L"en");
        if (c.file != nullptr) {
            home.WriteConfig(c.file);
        }
        ca::ConfigFileParser config;
        config.logMode = 3;  // reading starts from the defaults
        std::wstring error = L"old";
        EXPECT_EQ(config.ReadConfig(error, true), c.ok);
        EXPECT_EQ(error, c.error);
        EXPECT_EQ(Json(config), Json(FromJson(c.changed)));
        EXPECT_EQ(GetVALKOLng(), c.language);
        EXPECT_EQ(ca::ConfigFileParser::GetConfigPath(), ca::u8u16(home.ConfigPath()));
    }
}

TEST(ConfigRead, MissingDllsAreReportedWithoutFailing) {
    CTempHome home;
    const std::string present = home.Path() + "/ext.so";
    ASSERT_TRUE(ca::StringToFile(present, "x"));
    home.WriteConfig("[Dll extensions]\n1=" + present + "\n2=/nonexistent/a.so\n3=" + home.Path() + "\n");
    ca::ConfigFileParser config;
    std::wstring error;
    EXPECT_TRUE(config.ReadConfig(error, true));
    EXPECT_EQ(error,
              L"Unable to load following dlls (the program will start working without adding them): "
              L"/nonexistent/a.so, " +
                  ca::u8u16(home.Path()));
    EXPECT_EQ(config.dllExtensions.size(), 3u);  // the host decides what to load
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
    for (const char* name : {"/ext1.so", "/ext2.so"}) {
        ca::StringToFile(home.Path() + name, "x");
        config.dllExtensions.push_back(ca::u8u16(home.Path() + name));
    }
    for (int i = 1; i <= 12; ++i) {
        config.customCdpList.push_back(L"http://cdp.example/" + std::to_wstring(i));
    }
    config.customCdpList.push_back(L"");
    config.customErrorHandlers = {L" обработчик "};
    return config;
}

TEST(ConfigWrite, FileAndJsonReadBackTheSameValues) {
    CTempHome home;
    CLanguageScope language;
    const ca::ConfigFileParser written = NonDefaults(home);
    std::wstring error;
    ASSERT_TRUE(written.WriteConfigFile(error)) << ca::u16u8(error);
    ca::ConfigFileParser read;
    EXPECT_TRUE(read.ReadConfig(error, true));
    EXPECT_EQ(error, L"");
    EXPECT_EQ(Json(read), Json(written));
    EXPECT_EQ(Json(FromJson(Json(written))), Json(written));
    struct stat info {};
    ASSERT_EQ(stat(home.ConfigPath().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0077, 0u);  // passwords inside
}

TEST(ConfigWrite, HeaderLineCarriesTheSha1OfTheRestAndIsSkipped) {
    CTempHome home;
    std::wstring error;
    ASSERT_TRUE(ca::ConfigFileParser().WriteConfigFile(error));
    std::string text;
    ASSERT_TRUE(ca::FileToString(home.ConfigPath(), text));
    const std::string prefix = "# SHA-1 of the lines below: ";
    ASSERT_GT(text.size(), prefix.size() + 41);
    EXPECT_EQ(text.substr(0, prefix.size()), prefix);
    EXPECT_EQ(text[prefix.size() + 40], '\n');
    const std::string rest = text.substr(prefix.size() + 41);
    EXPECT_EQ(ca::u8u16(text.substr(prefix.size(), 40)), SHA1::GetHash(ca::u8u16(rest)));  // ASCII only here
    const std::string head = "[Service settings]\nLogMode=0\nLogFile=OruCryptoSvc.log\nShowTrayIcon=1\n";
    const std::string tail =
        "CertInclude=2\n\n[Dll extensions]\n\n[Custom CDP list]\n\n[Custom error handlers]\n";
    ASSERT_GT(rest.size(), head.size() + tail.size());
    EXPECT_EQ(rest.substr(0, head.size()) + rest.substr(rest.size() - tail.size()), head + tail);
    ca::ConfigFileParser read;
    read.logMode = 1;
    EXPECT_TRUE(read.ReadConfig(error, true));
    EXPECT_EQ(Json(read), Json(ca::ConfigFileParser()));
}

TEST(ConfigWrite, LineBreaksAndUnwritableFoldersAreRefused) {
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
    EXPECT_FALSE(ca::IsRegularFile(home.ConfigPath()));

    ASSERT_TRUE(ca::StringToFile(home.Path() + "/.config", "a file where the folder should be"));
    EXPECT_FALSE(ca::ConfigFileParser().WriteConfigFile(error));
    EXPECT_EQ(error.rfind(L"Failed to open(create) configuration file: cannot create the folder '", 0), 0u)
        << ca::u16u8(error);
}

// The keys follow the table, as the file's lines do; the lists come last.
TEST(ConfigJson, DefaultsInTableOrderWrongTypesThrowOutOfRangeIsIgnored) {
    const std::string defaults = Json(ca::ConfigFileParser());
    EXPECT_THAT(defaults, StartsWith(R"({"LogMode":0,"LogFile":"OruCryptoSvc.log","ShowTrayIcon":true,)"));
    EXPECT_THAT(defaults, ::testing::EndsWith(R"("CertInclude":2,"Dll extensions":[],"Custom CDP list":[],)"
                                              R"("Custom error handlers":[]})"));
    for (const char* text : {R"([])", R"({"LogMode":"1"})", R"({"LogMode":1.5})", R"({"LogMode":4294967295})",
                             R"({"ShowTrayIcon":1})", R"({"LogFile":1})", R"({"Dll extensions":"x"})",
                             R"({"Custom CDP list":[1]})"}) {
        EXPECT_EQ(CodeOf([text] { FromJson(text); }), ca::kJsonError) << text;
    }
    EXPECT_EQ(Json(FromJson(R"({"LogMode":7,"ProxyPort":0,"HttpPort":-1,"Unknown":true})")),
              Json(ca::ConfigFileParser()));
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
    EXPECT_EQ(Json(*config), Json(FromJson(R"({"LogMode":3,"Custom CDP list":["a"]})")));
    const auto* pki = dynamic_cast<const ca::PKIConfigFileParser*>(request.GetObject(ca::kTypePKIConfig));
    ASSERT_NE(pki, nullptr);
    EXPECT_EQ(pki->httpPort, 1);
    EXPECT_EQ(pki->language, L"Ru");
}

TEST(ConfigModule, ValuesReachTheInitStringAndTheHttpClient) {
    CTempHome home;
    home.WriteConfig(
        "[Service settings]\nProxyLogin=user\nProxyPassword=secret\nProxyAddress=proxy.test\n"
        "ProxyPort=3128\nProxyType=2\nTSPTimeout=1234\nGeneralTimeout=1500\n");
    const ca::HttpSettings before = ca::Http::Settings();
    CSesModule module(true);
    ASSERT_TRUE(module.ReadConfig());
    const ca::HttpSettings http = ca::Http::Settings();
    ca::Http::Configure(before);
    EXPECT_EQ(http.proxyLogin + ":" + http.proxyPassword + "@" + http.proxyAddress + ":" +
                  std::to_string(http.proxyPort) + " " + std::to_string(http.proxyType),
              "user:secret@proxy.test:3128 2");
    EXPECT_EQ(http.generalTimeoutMs, 1500);
    EXPECT_EQ(http.maxDownload, before.maxDownload);
    ca::CryptPacket packet;
    packet.request.mode = 37;
    packet.request.clientId = L"c";
    const CCallContext call(packet, module, module.contexts);
    EXPECT_EQ(call.initString, L"TSP_INET_TIMEOUT=1234;SERVICE_MODE=TRUE;");
}

std::string PkiPath(const CTempHome& home) { return home.Path() + "/.config/OruPKISvc/OruPKISvcConfig.json"; }

// Fields shows the values as "LogMode|LogFileName|HttpPort|Language".
std::wstring Fields(const ca::PKIConfigFileParser& config) {
    return std::to_wstring(config.logMode) + L"|" + config.logFileName + L"|" +
           std::to_wstring(config.httpPort) + L"|" + config.language;
}

TEST(PKIConfig, FileTextsGiveValuesAndTheLanguage) {
    const struct {
        const char* label;
        const char* file;  // null: no file
        const wchar_t* before;
        bool ok;
        const wchar_t* fields;
        uint32_t language;  // afterwards
    } cases[] = {{"missing file", nullptr, L"en", false, L"0|OruPKISvc.log|18503|Ru", kLangEnglish},
                 {"broken JSON", "{\"LogMode\":1", L"en", false, L"0|OruPKISvc.log|18503|Ru", kLangEnglish},
                 {"no object", "[1]", L"en", false, L"0|OruPKISvc.log|18503|Ru", kLangEnglish},
                 {"empty object: the default Ru selects Russian", "{}", L"en", true,
                  L"0|OruPKISvc.log|18503|Ru", kLangRussian},
                 {"mistyped members keep their defaults",
                  R"({"LogMode":true,"HttpPort":"1","LogFileName":1,"Language":null})", L"en", true,
                  L"0|OruPKISvc.log|18503|Ru", kLangRussian},
                 {"all members", R"({"LogMode":2,"LogFileName":"журнал.log","HttpPort":1,"Language":"en"})",
                  L"ru", true, L"2|журнал.log|1|en", kLangEnglish}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        CLanguageScope language(c.before);
        CTempHome home;
        if (c.file != nullptr) {
            ASSERT_TRUE(ca::TryCreateDir(home.Path() + "/.config/OruPKISvc"));
            ASSERT_TRUE(ca::StringToFile(PkiPath(home), c.file));
        }
        ca::PKIConfigFileParser config;
        config.httpPort = 5;  // reading starts from the defaults
        EXPECT_EQ(config.ReadConfig(), c.ok);
        EXPECT_EQ(Fields(config), c.fields);
        EXPECT_EQ(config.configDir, ca::u8u16(home.Path()) + L"/.config/OruPKISvc");
        EXPECT_EQ(GetVALKOLng(), c.language);
    }
}

TEST(PKIConfig, WriteCreatesTheFolderAndReadsBack) {
    CTempHome home;
    CLanguageScope language;
    ca::PKIConfigFileParser written;
    written.logMode = 3;
    written.logFileName = L"pki \"log\".txt";
    written.httpPort = 443;
    written.language = L"en";
    ASSERT_TRUE(written.WriteConfig());
    std::string text;
    ASSERT_TRUE(ca::FileToString(PkiPath(home), text));
    EXPECT_EQ(
        text,
        "{\n    \"LogMode\": 3,\n    \"LogFileName\": \"pki \\\"log\\\".txt\",\n    \"HttpPort\": 443,\n"
        "    \"Language\": \"en\"\n}\n");
    ca::PKIConfigFileParser read;
    EXPECT_TRUE(read.ReadConfig());
    EXPECT_EQ(Fields(read), Fields(written));
}

using P = ca::InitStringParameter;

TEST(InitStringParser, KnownAndOtherNames) {
    const struct {
        const wchar_t* text;
        P parameter;
        const wchar_t* expected;  // null: not given
    } cases[] = {{L"DESCRIPTIONFORMAT=\"%SN %G\";", P::DESCRIPTIONFORMAT, L"%SN %G"},
                 {L"cert_filter= \"a b\" ;", P::CERT_FILTER, L"a b"},
                 {L"FORCE_CERTINCLUDE=1;FORCE_CERTINCLUDE=0;", P::FORCE_CERTINCLUDE, L"1"},
                 {L"MODULE=ses", P::LDAP_FILTER, nullptr},
                 {L"MODULE=ses", P::MODULE, L"ses"},
                 {L"LDAP_FILTER=(cn=x=y)", P::LDAP_FILTER, L"(cn=x=y)"},  // split at the first "="
                 {L"NOEQUALS;MODULE=;=x;", P::MODULE, L""},
                 {L";;;", P::MODULE, nullptr},
                 {L"", P::CERT_FILTER, nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::wstring value = L"unchanged";
        EXPECT_EQ(ca::InitStringParser(c.text).Lookup(c.parameter, value), c.expected != nullptr);
        EXPECT_EQ(value, c.expected != nullptr ? c.expected : L"unchanged");
    }
    const ca::InitStringParser parser(L"CERT_FILTER=x;TSP_INET_TIMEOUT=30000;service_mode=TRUE;");
    std::wstring value;
    EXPECT_TRUE(parser.LookupStr(L"TSP_INET_TIMEOUT", value));
    EXPECT_EQ(value, L"30000");
    EXPECT_TRUE(parser.LookupStr(L"SERVICE_MODE", value));
    EXPECT_EQ(value, L"TRUE");
    EXPECT_FALSE(parser.LookupStr(L"service_mode", value));  // stored upper-case, matched exactly
    EXPECT_FALSE(parser.LookupStr(L"CERT_FILTER", value));   // a known name lives in the other map
    EXPECT_FALSE(ca::InitStringParser(nullptr).LookupStr(L"X", value));
}

}  // namespace
