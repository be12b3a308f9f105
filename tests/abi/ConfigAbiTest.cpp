// The service configuration as CM_Init reads it: language, private-key access, logging, failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/HostModule.h"

namespace {

const char kUnknownModeRu[] = R"({"errorCode":16303,"errorMessage":"ERROR Метод не поддерживается."})";
const char kUnknownModeEn[] = R"({"errorCode":16303,"errorMessage":"ERROR Method not supported."})";
const std::wstring kReadError =
    L"Error reading config file: Failed to read config file. Error message:\r\n\r\n";
const std::wstring kDefaultsUsed = L"\r\n\r\nUsing default parameter values";

const struct {
    const char* file;  // "[Service settings]" lines; null: no file
    bool serviceMode;
    std::wstring errorLine;  // the one error line of CM_Init; empty: none
    bool russian;
    bool remoteKeyAccess;
    bool logsData;  // "Request filedata : ..." (LogMode 3)
} kConfigCases[] = {
    {nullptr, true, L"", false, false, false},
    {nullptr, false, kReadError + L"Failed to open(create) configuration file" + kDefaultsUsed, false, false,
     false},
    {"Language=ru", true, L"", true, false, false},
    {"AllowRemotePrivateKeyAccess=1", true, L"", false, true, false},
    {"LogMode=3", true, L"", false, false, true},
    // LogMode comes before HttpPort in the key table, Language after it.
    {"Language=ru\nHttpPort=abc\nLogMode=3", false, kReadError + L"stoi" + kDefaultsUsed, false, false,
     true}};

TEST(AbiConfig, TheFileDecidesLanguageKeyAccessAndLogging) {
    for (const auto& c : kConfigCases) {
        SCOPED_TRACE(std::string(c.file == nullptr ? "no file" : c.file) +
                     (c.serviceMode ? ", service" : ""));
        CTempHome home;
        if (c.file != nullptr) {
            home.WriteConfig(std::string("[Service settings]\n") + c.file + "\n");
        }
        CHostModule host(c.serviceMode);
        ASSERT_NE(host.module, nullptr);
        std::vector<SLogLine> lines = CLogScope::Take();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(),
                  (SLogLine{c.russian ? L"Модуль инициализирован" : L"Module initialized", false}));
        lines.erase(std::remove_if(lines.begin(), lines.end(), [](const SLogLine& l) { return !l.isError; }),
                    lines.end());
        EXPECT_EQ(lines, (c.errorLine.empty() ? std::vector<SLogLine>()
                                              : std::vector<SLogLine>{{c.errorLine, true}}));
        EXPECT_EQ(host.Ask(R"({"mode":11})", false), c.remoteKeyAccess
                                                         ? R"({"errorCode":0,"errorMessage":"DONE"})"
                                                         : R"({"errorCode":50,"errorMessage":""})");
        CLogScope::Clear();
        host.Ask(R"({"mode":11,"fileData":"QUJD"})");
        lines = CLogScope::Take();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), SLogLine{L"Request filedata : QUJD", false}),
                  c.logsData);
        EXPECT_EQ(host.Ask(R"({"mode":99})"), c.russian ? kUnknownModeRu : kUnknownModeEn);
    }
}

std::vector<std::wstring> gSecondModuleLines;

TEST(AbiConfig, TwoModulesKeepTheirOwnLogAndLanguage) {
    CTempHome home;
    home.WriteConfig("[Service settings]\nLanguage=ru\n");
    CHostModule russian;
    home.WriteConfig("[Service settings]\nLanguage=en\n");
    void* english = russian.init(true, [](const wchar_t* text, bool) {
        gSecondModuleLines.emplace_back(text);
        return true;
    });
    ASSERT_NE(english, nullptr);
    CLogScope::Clear();
    EXPECT_EQ(russian.Ask(R"({"mode":99,"clientId":"r"})"), kUnknownModeRu);
    CMPacket packet{};
    const std::string request = WithNul(R"({"mode":99,"clientId":"e"})");
    packet.request = request.data();
    packet.requestLength = static_cast<uint32_t>(request.size());
    russian.process(english, &packet);
    EXPECT_EQ(CHostModule::Split(packet).json, kUnknownModeEn);
    russian.release(english);
    // The second module's lines, even its start and end, never reached the first one's callback.
    russian.Ask(R"({"mode":99,"clientId":"r2"})");
    EXPECT_EQ(CLogScope::Take(),
              (std::vector<SLogLine>{
                  {L"clientId =  r", false}, {L"<", false}, {L"clientId =  r2", false}, {L"<", false}}));
    EXPECT_EQ(gSecondModuleLines.front(), L"Module initialized");
    EXPECT_EQ(gSecondModuleLines.back(), L"<");
}

}  // namespace
