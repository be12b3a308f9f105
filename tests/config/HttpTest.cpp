#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "config/Network.h"
#include "config/curl_isolate.h"
#include "base/Log.h"
#include "tests/support/LoopbackHttpServer.h"

namespace {

using Reply = CLoopbackHttpServer::SReply;
using Request = CLoopbackHttpServer::SRequest;

std::string AllByteValues() {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes.push_back(static_cast<char>(i));
    }
    return bytes;
}

std::string PseudoRandomBytes(size_t n) {
    std::string bytes(n, '\0');
    uint32_t x = 2463534242u;
    for (char& c : bytes) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        c = static_cast<char>(x);
    }
    return bytes;
}

// Paths of the test server: /status/N answers N, /hop/N redirects N times before "arrived",
// /loop redirects to itself, /to/<url> redirects to <url>, /slow answers after two seconds,
// /size/N sends N bytes, /stream/N sends N bytes without Content-Length, /echo returns the body.
Reply Route(const Request& request) {
    const std::string& p = request.path;
    const auto number = [&p](size_t prefix) { return std::stoul(p.substr(prefix)); };
    if (p.rfind("/status/", 0) == 0) {
        return Reply{static_cast<int>(number(8)), "status body"};
    }
    if (p.rfind("/hop/", 0) == 0) {
        const unsigned long left = number(5);
        return left == 0 ? Reply{200, "arrived"} : Reply{302, "", "/hop/" + std::to_string(left - 1)};
    }
    if (p == "/loop") {
        return Reply{302, "", "/loop"};
    }
    if (p.rfind("/to/", 0) == 0) {
        return Reply{302, "", p.substr(4)};
    }
    if (p == "/slow") {
        Reply reply{200, "late"};
        reply.delayMs = 2000;
        return reply;
    }
    if (p.rfind("/size/", 0) == 0) {
        return Reply{200, std::string(number(6), 'x')};
    }
    if (p.rfind("/stream/", 0) == 0) {
        Reply reply{200, std::string(number(8), 'x')};
        reply.omitContentLength = true;
        return reply;
    }
    if (p == "/echo") {
        return Reply{200, "answer:" + request.body + "|" + request.Header("Content-Type")};
    }
    return Reply{200, "payload"};
}

std::mutex logMutex;
std::vector<std::wstring> logLines;

bool CaptureLog(const wchar_t* text, bool isError) {
    std::lock_guard<std::mutex> lock(logMutex);
    logLines.push_back((isError ? L"E " : L"I ") + std::wstring(text));
    return true;
}

class HttpTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(ca::Http::Available());
        ca::Http::Configure(ca::HttpSettings{});
    }
    void TearDown() override { ca::Http::Configure(ca::HttpSettings{}); }

    // Get returns the code of a download (0 on success) and fills body.
    static uint32_t Get(const std::string& url, std::string* body = nullptr, long timeoutMs = 0) {
        try {
            ca::MallocPtr out;
            const uint32_t size = ca::Http::GetBlob(url, out, timeoutMs);
            EXPECT_NE(out, nullptr);
            if (body != nullptr) {
                body->assign(reinterpret_cast<const char*>(out.get()), size);
            }
            return ca::kOk;
        } catch (const ca::Exception& e) {
            EXPECT_TRUE(e.message.empty()) << "the response must show the code's own text";
            return e.code;
        }
    }

    CLoopbackHttpServer server{Route};
};

TEST_F(HttpTest, GetReturnsTheBodyByteForByte) {
    const std::string bodies[] = {"", AllByteValues(), PseudoRandomBytes(3u << 20)};
    for (const std::string& expected : bodies) {
        for (const bool streamed : {false, true}) {
            SCOPED_TRACE((streamed ? "streamed " : "declared ") + std::to_string(expected.size()));
            CLoopbackHttpServer exact([&expected, streamed](const Request&) {
                Reply reply{200, expected};
                reply.omitContentLength = streamed;
                return reply;
            });
            std::string body = "stale";
            ASSERT_EQ(Get(exact.Url("/file"), &body), ca::kOk);
            EXPECT_TRUE(body == expected) << "size " << body.size();
        }
    }
}

struct SUrlCase {
    const char* label;
    std::string url;
    uint32_t code;
};

TEST_F(HttpTest, FailuresMapToConnectionOrServerError) {
    CRefusingLoopbackPort refusing;
    const SUrlCase cases[] = {
        {"404", server.Url("/status/404"), ca::kServerError},
        {"500", server.Url("/status/500"), ca::kServerError},
        {"400", server.Url("/status/400"), ca::kServerError},
        {"399", server.Url("/status/399"), ca::kOk},
        {"refused port", refusing.Url("/x"), ca::kConnectionError},
        {"file scheme", "file:///etc/passwd", ca::kConnectionError},
        {"ftp scheme", "ftp://127.0.0.1:" + std::to_string(server.Port()) + "/x", ca::kConnectionError},
        {"redirect to file scheme", server.Url("/to/file:///etc/passwd"), ca::kConnectionError},
        {"redirect loop", server.Url("/loop"), ca::kConnectionError},
        {"five redirects", server.Url("/hop/5"), ca::kOk},
        {"six redirects", server.Url("/hop/6"), ca::kConnectionError},
    };
    for (const SUrlCase& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(Get(c.url), c.code);
    }
    std::string body;
    ASSERT_EQ(Get(server.Url("/hop/3"), &body), ca::kOk);
    EXPECT_EQ(body, "arrived");
}

TEST_F(HttpTest, SettingsBoundRedirectsAndDownloadSize) {
    ca::HttpSettings settings;
    settings.maxRedirects = 1;
    settings.maxDownload = 1000;
    ca::Http::Configure(settings);
    const SUrlCase cases[] = {
        {"one redirect", server.Url("/hop/1"), ca::kOk},
        {"two redirects", server.Url("/hop/2"), ca::kConnectionError},
        {"at the limit", server.Url("/size/1000"), ca::kOk},
        {"declared above the limit", server.Url("/size/1001"), ca::kConnectionError},
        {"streamed at the limit", server.Url("/stream/1000"), ca::kOk},
        {"streamed above the limit", server.Url("/stream/1001"), ca::kConnectionError},
        {"streamed far above the limit", server.Url("/stream/5000000"), ca::kConnectionError},
    };
    for (const SUrlCase& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(Get(c.url), c.code);
    }
}

TEST_F(HttpTest, TimeOutComesFromTheCallOrTheSettings) {
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(Get(server.Url("/slow"), nullptr, 200), ca::kConnectionError);
    ca::HttpSettings settings;
    settings.generalTimeoutMs = 200;
    ca::Http::Configure(settings);
    EXPECT_EQ(Get(server.Url("/slow")), ca::kConnectionError);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(1800));
}

TEST_F(HttpTest, GetLogsTheDetailAsAnErrorLine) {
    LogInit(&CaptureLog, {});
    logLines.clear();
    const std::string url = server.Url("/status/503");
    EXPECT_EQ(Get(url), ca::kServerError);
    LogInit(nullptr, {});
    ASSERT_EQ(logLines.size(), 1u);
    EXPECT_EQ(logLines[0], L"E GET " + std::wstring(url.begin(), url.end()) + L": HTTP status 503");
}

TEST_F(HttpTest, GoesThroughTheConfiguredProxyWithItsLogin) {
    ca::HttpSettings settings;
    settings.proxyAddress = "127.0.0.1";
    settings.proxyPort = server.Port();
    settings.proxyLogin = "user";
    settings.proxyPassword = "p@ss";
    ca::Http::Configure(settings);
    std::string body;
    ASSERT_EQ(Get("http://files.example.invalid/doc", &body), ca::kOk);
    EXPECT_EQ(body, "payload");
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].path, "http://files.example.invalid/doc");
    EXPECT_EQ(requests[0].Header("Proxy-Authorization"), "Basic dXNlcjpwQHNz");
}

TEST_F(HttpTest, PostSendsExactBytesAndHeadersAndReturnsTheAnswer) {
    const std::string payload = AllByteValues() + PseudoRandomBytes(2u << 20);
    ca::MallocPtr answer;
    uint32_t answerSize = 0;
    std::string error = "stale";
    const uint32_t code =
        ca::Http::PostBlob(server.Url("/echo"), 0, {"Content-Type: application/octet-stream"},
                           reinterpret_cast<const uint8_t*>(payload.data()),
                           static_cast<uint32_t>(payload.size()), answer, answerSize, error);
    ASSERT_EQ(code, ca::kOk) << error;
    EXPECT_EQ(error, "");
    const std::string expected = "answer:" + payload + "|application/octet-stream";
    ASSERT_EQ(answerSize, expected.size());
    EXPECT_EQ(std::memcmp(answer.get(), expected.data(), answerSize), 0);
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_TRUE(requests[0].body == payload);
}

TEST_F(HttpTest, PostFailuresAreReturnedWithText) {
    CRefusingLoopbackPort refusing;
    const SUrlCase cases[] = {
        {"500", server.Url("/status/500"), ca::kServerError},
        {"refused port", refusing.Url("/up"), ca::kConnectionError},
        {"file scheme", "file:///tmp/upload", ca::kConnectionError},
    };
    const uint8_t data[] = {1, 2, 3};
    for (const SUrlCase& c : cases) {
        SCOPED_TRACE(c.label);
        ca::MallocPtr answer;
        uint32_t answerSize = 77;
        std::string error;
        EXPECT_EQ(ca::Http::PostBlob(c.url, 0, {}, data, sizeof(data), answer, answerSize, error), c.code);
        EXPECT_FALSE(error.empty());
        EXPECT_EQ(answer, nullptr);
        EXPECT_EQ(answerSize, 77u);
    }
    std::string error;
    ca::MallocPtr answer;
    uint32_t answerSize = 0;
    ca::Http::PostBlob(server.Url("/status/500"), 0, {}, data, 3, answer, answerSize, error);
    EXPECT_EQ(error, "HTTP status 500");
}

TEST(CurlResolve, MissingLibraryOrSymbolIsReported) {
    ca::CurlApi api;
    std::string error;
    EXPECT_FALSE(ca::CurlResolve("libmod-ses-absent.so.9", api, error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(ca::CurlResolve("libc.so.6", api, error));
    EXPECT_NE(error.find("curl_global_init"), std::string::npos) << error;
    EXPECT_EQ(api.easyInit, nullptr);
}

}  // namespace
