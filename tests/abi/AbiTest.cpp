// End-to-end tests of libmod_ses.so.1 through its C interface only, as a host sees it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <set>
#include <string>
#include <thread>

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

TEST(AbiLifecycle, NullArgumentsAreIgnoredAndInitLogsReadiness) {
    CTempHome home;
    CHostModule host;
    ASSERT_NE(host.module, nullptr);
    const auto lines = CLogScope::Take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), (SLogLine{L"Module initialized", false}));

    CMPacket packet{};
    host.process(nullptr, &packet);
    host.process(host.module, nullptr);
    host.release(nullptr);
    EXPECT_EQ(packet.response, nullptr);
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
        SCOPED_TRACE(c.label);
        const SAnswer answer = host.Call(c.request, c.isLocal);
        EXPECT_EQ(answer.json, c.expected);
        EXPECT_EQ(answer.responseSize, answer.json.size());  // no data follows: the NUL is not counted
    }
    CMPacket packet{};  // no request text at all
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

}  // namespace
