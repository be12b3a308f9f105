// End-to-end tests of libmod_ses.so.1 through its C interface only, as a host sees it: exports, life
// cycle, answers, logging, and the service configuration CM_Init reads.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "mod_ses.h"
#include "tests/support/HostModule.h"
#include "tests/support/TestSupport.h"

namespace {

constexpr const char* kNoData = R"x({"errorCode":16118,"errorMessage":"ERROR No data in argument(s)"})x";
constexpr const char* kBadJson = R"({"errorCode":16300,"errorMessage":"ERROR Error parsing JSON."})";
constexpr const char* kNoMethod = R"({"errorCode":16303,"errorMessage":"ERROR Method not supported."})";
constexpr const char* kDone = R"({"errorCode":0,"errorMessage":"DONE"})";

TEST(AbiExports, OnlyTheThreeEntryPointsAreExported) {
    FILE* pipe = popen("nm -D --defined-only " SES_MODULE_PATH, "r");
    ASSERT_NE(pipe, nullptr);
    std::set<std::string> names;
    char line[512];
    while (fgets(line, sizeof(line), pipe) != nullptr) {
        char address[64], type[8], name[400];
        if (sscanf(line, "%63s %7s %399s", address, type, name) == 3) {
            names.insert(name);
        }
    }
    pclose(pipe);
    EXPECT_EQ(names, (std::set<std::string>{"CM_Free", "CM_Init", "CM_ProcessClientRequest"}));
}

std::atomic<bool> gCallEntered{false};
std::atomic<bool> gCallEnded{false};

TEST(AbiLifecycle, FreeWaitsForTheCallsInFlight) {
    CTempHome home;
    CHostModule host;
    void* module = host.init(true, [](const wchar_t* text, bool) {
        gCallEntered = true;
        gCallEnded = gCallEnded || std::wcscmp(text, L"<") == 0;  // the call's last line
        return true;
    });
    gCallEntered = false;  // Init logged already
    std::thread caller([&host, module] {
        // A sign of 64 MiB keeps the call busy long after CM_Free was entered.
        const std::string request =
            WithNul(R"({"mode":50,"fileDataSize":67108864})") + std::string(64 << 20, 'x');
        CMPacket packet{};
        packet.request = request.data();
        packet.requestLength = static_cast<uint32_t>(request.size());
        host.process(module, &packet);
        free(packet.response);
    });
    while (!gCallEntered) {
        std::this_thread::yield();
    }
    host.release(module);
    EXPECT_TRUE(gCallEnded.load());
    caller.join();
}

TEST(AbiExchange, AnswersAreByteExact) {
    CTempHome home;
    CHostModule host;
    const std::string hugeNumber = "[0." + std::string(400, '0') + "1e-2147483599]";
    const std::string deep = std::string(100, '[') + std::string(100, ']');
    const struct {
        const char* label;
        std::string request;  // sent byte for byte
        bool isLocal;
        const char* expected;
    } cases[] = {
        {"unknown mode", WithNul(R"({"mode":99})"), true, kNoMethod},
        {"mode below the table", WithNul(R"({"mode":10})"), true, kNoMethod},
        {"no mode", WithNul("{}"), true, kNoMethod},
        {"probe", WithNul(R"({"mode":37,"test":true,"fileData":5})"), true, kDone},
        {"no-op key mode, local", WithNul(R"({"mode":11})"), true, kDone},
        {"key mode, remote", WithNul(R"({"mode":14})"), false, R"({"errorCode":50,"errorMessage":""})"},
        {"key probe, remote", WithNul(R"({"mode":56,"test":true})"), false,
         R"({"errorCode":50,"errorMessage":""})"},
        {"no NUL at all", R"({"mode":42})", true, kDone},
        {"truncated JSON", WithNul(R"({"mode":)"), true, kBadJson},
        {"not an object", WithNul("[37]"), true, kBadJson},
        {"two documents", WithNul("{}{}"), true, kBadJson},
        {"empty text", std::string(), true, kBadJson},
        {"mode as text", WithNul(R"({"mode":"37"})"), true, kBadJson},
        {"negative mode", WithNul(R"({"mode":-1})"), true, kBadJson},
        {"flag as number", WithNul(R"({"mode":11,"isAttached":1})"), true, kBadJson},
        {"fileData as number", WithNul(R"({"mode":11,"fileData":1})"), true, kBadJson},
        {"signatures of numbers", WithNul(R"({"mode":11,"signatures":[1]})"), true, kBadJson},
        {"long number literal", WithNul(hugeNumber), true, kBadJson},
        {"deep nesting", WithNul(deep), true, kBadJson},
        {"invalid base64", WithNul(R"({"mode":11,"fileData":"***"})"), true, kNoData},
        {"lying fileDataSize", WithNul(R"({"mode":11,"fileDataSize":4})") + "abc", true, kNoData},
        {"fileDataSize without NUL", R"({"mode":11,"fileDataSize":0})", true, kNoData},
        {"lying fileDataEncodedSize", WithNul(R"({"fileDataEncodedSize":999,"mode":11,"fileData":"QUJD"})"),
         true, kDone},
        {"undecodable fileDataEncodedSize",
         WithNul(R"({"fileDataEncodedSize":4,"fileData":"====","mode":11})"), true, kNoData},
        {"non-http download", WithNul(R"({"mode":11,"fileDataUrl":"file:///etc/passwd"})"), true,
         R"({"errorCode":16263,"errorMessage":"ERROR Connection error"})"},
    };
    for (const auto& c : cases) {
        const SAnswer answer = host.Call(c.request, c.isLocal);
        EXPECT_EQ(answer.json, c.expected) << c.label;
        EXPECT_EQ(answer.responseSize, answer.json.size()) << c.label;  // no data follows: no NUL counted
    }
    CMPacket packet{};  // null arguments are ignored; no request text at all is no JSON
    host.process(nullptr, &packet);
    host.process(host.module, nullptr);
    host.release(nullptr);
    EXPECT_EQ(packet.response, nullptr);
    packet.requestLength = 10;
    host.process(host.module, &packet);
    EXPECT_EQ(CHostModule::Split(packet).json, kBadJson);
}

TEST(AbiLogging, LinesOfOneCallArriveInOrder) {
    CTempHome home;
    CHostModule host;
    CLogScope::Clear();
    host.Ask(R"({"mode":37,"clientId":"host-1"})");
    EXPECT_EQ(CLogScope::Take(), (std::vector<SLogLine>{{L"clientId =  host-1", false},
                                                        {L"> EnumStore", false},
                                                        {L"StoreAddress received", false},
                                                        {L"<", false}}));

    host.Ask(R"({"mode":37,"clientId":"host-1","test":true})");
    EXPECT_EQ(CLogScope::Take(), (std::vector<SLogLine>{{L"clientId =  host-1", false}}));

    host.Ask(R"({"mode":)");
    EXPECT_EQ(CLogScope::Take(),
              (std::vector<SLogLine>{{L": CryptoModule:95", true}, {L": ERROR Error parsing JSON.", true}}));
}

const char kUnknownModeRu[] = R"({"errorCode":16303,"errorMessage":"ERROR Метод не поддерживается."})";
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
        EXPECT_EQ(host.Ask(R"({"mode":99})"), c.russian ? kUnknownModeRu : kNoMethod);
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
    EXPECT_EQ(CHostModule::Split(packet).json, kNoMethod);
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
