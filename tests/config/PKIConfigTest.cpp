#include <gtest/gtest.h>

#include <string>

#include "base/Encode.h"
#include "base/FileUtil.h"
#include "base/Lng.h"
#include "config/PKIConfigFileParser.h"
#include "tests/support/TestSupport.h"

namespace {

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

}  // namespace
