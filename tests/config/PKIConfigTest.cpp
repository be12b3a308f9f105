#include <gtest/gtest.h>

#include <string>

#include "base/Encode.h"
#include "base/FileUtil.h"
#include "config/PKIConfigFileParser.h"
#include "base/Lng.h"
#include "tests/support/TestSupport.h"

namespace {

std::string PkiPath(const CTempHome& home) { return home.Path() + "/.config/OruPKISvc/OruPKISvcConfig.json"; }

void WritePki(const CTempHome& home, const std::string& text) {
    ASSERT_TRUE(ca::TryCreateDir(home.Path() + "/.config/OruPKISvc"));
    ASSERT_TRUE(ca::StringToFile(PkiPath(home), text));
}

struct SPkiCase {
    const char* label;
    const char* file;  // null: no file
    bool ok;
    int logMode;
    const wchar_t* logFileName;
    int httpPort;
    const wchar_t* language;
    uint32_t lang;  // the message language afterwards; it was English before
};

const SPkiCase kPkiCases[] = {
    {"missing file", nullptr, false, 0, L"OruPKISvc.log", 18503, L"Ru", kLangEnglish},
    {"broken JSON", "{\"LogMode\":1", false, 0, L"OruPKISvc.log", 18503, L"Ru", kLangEnglish},
    {"no object", "[1]", false, 0, L"OruPKISvc.log", 18503, L"Ru", kLangEnglish},
    {"empty object: the default Ru selects Russian", "{}", true, 0, L"OruPKISvc.log", 18503, L"Ru",
     kLangRussian},
    {"mistyped members keep their defaults",
     R"({"LogMode":true,"HttpPort":"18504","LogFileName":1,"Language":null})", true, 0, L"OruPKISvc.log",
     18503, L"Ru", kLangRussian},
    {"all members", R"({"LogMode":2,"LogFileName":"журнал.log","HttpPort":1,"Language":"en"})", true, 2,
     L"журнал.log", 1, L"en", kLangEnglish},
};

TEST(PKIConfig, FileTextsGiveValues) {
    for (const auto& c : kPkiCases) {
        SCOPED_TRACE(c.label);
        SetVALKOLng(L"en");
        CTempHome home;
        if (c.file != nullptr) {
            WritePki(home, c.file);
        }
        ca::PKIConfigFileParser config;
        config.httpPort = 5;  // reading starts from the defaults
        EXPECT_EQ(config.ReadConfig(), c.ok);
        EXPECT_EQ(config.logMode, c.logMode);
        EXPECT_EQ(config.logFileName, c.logFileName);
        EXPECT_EQ(config.httpPort, c.httpPort);
        EXPECT_EQ(config.language, c.language);
        EXPECT_EQ(config.configDir, ca::u8u16(home.Path()) + L"/.config/OruPKISvc");
        EXPECT_EQ(GetVALKOLng(), c.lang);
    }
    SetVALKOLng(L"en");
}

TEST(PKIConfig, EnglishFileSwitchesARussianProcessToEnglish) {
    SetVALKOLng(L"ru");
    CTempHome home;
    WritePki(home, R"({"Language":"en"})");
    ca::PKIConfigFileParser config;
    EXPECT_TRUE(config.ParseConfigFile());
    EXPECT_EQ(GetVALKOLng(), kLangEnglish);
    SetVALKOLng(L"en");
}

TEST(PKIConfig, WriteCreatesTheFolderAndReadsBack) {
    CTempHome home;
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
    EXPECT_EQ(read.logMode, 3);
    EXPECT_EQ(read.logFileName, written.logFileName);
    EXPECT_EQ(read.httpPort, 443);
    EXPECT_EQ(read.language, L"en");
    SetVALKOLng(L"en");
}

}  // namespace
