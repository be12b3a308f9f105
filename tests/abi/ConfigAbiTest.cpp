#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/FileUtil.h"
#include "tests/support/HostModule.h"
#include "tests/support/TestSupport.h"

namespace {

// WriteConfig puts the service configuration where the module reads it at CM_Init.
void WriteConfig(const CTempHome& home, const std::string& text) {
    ASSERT_TRUE(ca::TryCreateDir(home.Path() + "/.config/OruCryptoSvc"));
    ASSERT_TRUE(ca::StringToFile(home.Path() + "/.config/OruCryptoSvc/OruCryptoSvcConfig.ini", text));
}

bool Contains(const std::vector<SLogLine>& lines, const SLogLine& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

size_t ErrorLines(const std::vector<SLogLine>& lines) {
    return static_cast<size_t>(
        std::count_if(lines.begin(), lines.end(), [](const SLogLine& l) { return l.isError; }));
}

// A missing file reads no language, so the module's language would outlive a test in the same
// process: a module started on an English file sets it back.
void RestoreEnglish() {
    CTempHome home;
    WriteConfig(home, "[Service settings]\nLanguage=en\n");
    CHostModule host;
}

const char kUnknownModeRu[] = R"({"errorCode":16303,"errorMessage":"ERROR Метод не поддерживается."})";
const char kUnknownModeEn[] = R"({"errorCode":16303,"errorMessage":"ERROR Method not supported."})";

TEST(AbiConfig, RussianLanguageFromTheFile) {
    {
        CTempHome home;
        WriteConfig(home, "[Service settings]\nLanguage=ru\n");
        CHostModule host;
        ASSERT_NE(host.module, nullptr);
        const auto lines = CLogCapture::Take();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), (SLogLine{L"Модуль инициализирован", false}));
        EXPECT_EQ(host.Call(WithNul(R"({"mode":99})")).json, kUnknownModeRu);
    }
    RestoreEnglish();
}

std::vector<std::wstring> gSecondModuleLines;

TEST(AbiConfig, TwoModulesKeepTheirOwnLogAndLanguage) {
    CTempHome home;
    WriteConfig(home, "[Service settings]\nLanguage=ru\n");
    CHostModule russian;
    WriteConfig(home, "[Service settings]\nLanguage=en\n");
    void* english = russian.init(true, [](const wchar_t* text, bool) {
        gSecondModuleLines.emplace_back(text);
        return true;
    });
    ASSERT_NE(english, nullptr);
    CLogCapture::Clear();
    EXPECT_EQ(russian.Call(WithNul(R"({"mode":99,"clientId":"r"})")).json, kUnknownModeRu);
    CMPacket packet{};
    const std::string request = WithNul(R"({"mode":99,"clientId":"e"})");
    packet.request = request.data();
    packet.requestLength = static_cast<uint32_t>(request.size());
    russian.process(english, &packet);
    EXPECT_EQ(CHostModule::Split(packet).json, kUnknownModeEn);
    russian.release(english);
    // The second module's lines, even its start and end, never reached the first one's callback.
    russian.Call(WithNul(R"({"mode":99,"clientId":"r2"})"));
    EXPECT_EQ(CLogCapture::Take(),
              (std::vector<SLogLine>{
                  {L"clientId =  r", false}, {L"<", false}, {L"clientId =  r2", false}, {L"<", false}}));
    EXPECT_EQ(gSecondModuleLines.front(), L"Module initialized");
    EXPECT_EQ(gSecondModuleLines.back(), L"<");
}

TEST(AbiConfig, RemotePrivateKeyAccess) {
    const struct {
        const char* value;
        const char* answer;
    } cases[] = {
        {"1", R"({"errorCode":0,"errorMessage":"DONE"})"},
        {"2", R"({"errorCode":0,"errorMessage":"DONE"})"},
        {"0", R"({"errorCode":50,"errorMessage":""})"},
        {"-1", R"({"errorCode":50,"errorMessage":""})"},  // negative: ignored, the default stays
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        CTempHome home;
        WriteConfig(home, std::string("[Service settings]\nAllowRemotePrivateKeyAccess=") + c.value + "\n");
        CHostModule host;
        EXPECT_EQ(host.Call(WithNul(R"({"mode":11})"), false).json, c.answer);
        EXPECT_EQ(host.Call(WithNul(R"({"mode":56,"test":true})"), false).json, c.answer);
    }
}

TEST(AbiConfig, FullLoggingLogsTheRequestData) {
    const struct {
        const char* config;
        bool logged;
    } cases[] = {
        {"[Service settings]\nLogMode=3\n", true},
        {"[Service settings]\nLogMode=2\n", false},
        {"[Service settings]\nLogMode=7\n", false},  // out of range: mode 0
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.config);
        CTempHome home;
        WriteConfig(home, c.config);
        CHostModule host;
        CLogCapture::Clear();
        host.Call(WithNul(R"({"mode":11,"fileData":"QUJD"})"));
        EXPECT_EQ(Contains(CLogCapture::Take(), SLogLine{L"Request filedata : QUJD", false}), c.logged);
    }
}

TEST(AbiConfig, BadNumberStopsTheReadingButNotTheModule) {
    CTempHome home;
    // LogMode comes before HttpPort in the key table, Language after it.
    WriteConfig(home, "[Service settings]\nLanguage=ru\nHttpPort=abc\nLogMode=3\n");
    CHostModule host(false);
    ASSERT_NE(host.module, nullptr);
    const auto lines = CLogCapture::Take();
    EXPECT_TRUE(Contains(
        lines, SLogLine{L"Error reading config file: Failed to read config file. Error message:\r\n\r\n"
                        L"stoi\r\n\r\nUsing default parameter values",
                        true}));
    EXPECT_EQ(ErrorLines(lines), 1u);
    EXPECT_EQ(lines.back(), (SLogLine{L"Module initialized", false}));
    EXPECT_EQ(host.Call(WithNul(R"({"mode":99})")).json, kUnknownModeEn);
    CLogCapture::Clear();
    host.Call(WithNul(R"({"mode":11,"fileData":"QUJD"})"));
    EXPECT_TRUE(Contains(CLogCapture::Take(), SLogLine{L"Request filedata : QUJD", false}));
}

TEST(AbiConfig, MissingFileIsSilentInServiceModeAndAWarningOtherwise) {
    {
        CTempHome home;
        CHostModule host(true);
        ASSERT_NE(host.module, nullptr);
        const auto lines = CLogCapture::Take();
        EXPECT_EQ(ErrorLines(lines), 0u);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), (SLogLine{L"Module initialized", false}));
    }
    {
        CTempHome home;
        CHostModule host(false);
        ASSERT_NE(host.module, nullptr);
        const auto lines = CLogCapture::Take();
        EXPECT_TRUE(
            Contains(lines, SLogLine{L"Error reading config file: Failed to read config file. Error "
                                     L"message:\r\n\r\nFailed to open(create) configuration file\r\n\r\n"
                                     L"Using default parameter values",
                                     true}));
        EXPECT_EQ(ErrorLines(lines), 1u);
    }
}

TEST(AbiConfig, ValidFileIsSilentOutsideServiceMode) {
    CTempHome home;
    WriteConfig(home, "[Service settings]\nLogMode=9\nHttpPort=80\n");
    CHostModule host(false);
    ASSERT_NE(host.module, nullptr);
    EXPECT_EQ(ErrorLines(CLogCapture::Take()), 0u);
}

}  // namespace
