#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "config/Network.h"
#include "config/curl_isolate.h"
#include "tests/support/LoopbackHttpServer.h"
#include "tests/support/TestSupport.h"

namespace {

using Reply = CLoopbackHttpServer::SReply;
using Request = CLoopbackHttpServer::SRequest;

// TestBytes(n) is every byte value once, then pseudo-random bytes up to n.
std::string TestBytes(size_t n) {
    std::string bytes;
    uint32_t x = 2463534242u;
    for (size_t i = 0; i < n; ++i) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        bytes.push_back(static_cast<char>(i < 256 ? i : x));
    }
    return bytes;
}

// Paths of the test server: /status/N answers N, /hop/N redirects N times before "arrived",
// /to/<url> redirects to <url>, /slow answers after two seconds,
// /size/N sends TestBytes(N), /stream/N the same without Content-Length, /echo returns the body.
Reply Route(const Request& request) {
    const std::string& p = request.path;
    const auto number = [&p](size_t prefix) { return std::stoul(p.substr(prefix)); };
    Reply reply{200, "payload"};
    if (p.rfind("/status/", 0) == 0) {
        reply = Reply{static_cast<int>(number(8)), "status body"};
    } else if (p.rfind("/hop/", 0) == 0) {
        reply =
            number(5) == 0 ? Reply{200, "arrived"} : Reply{302, "", "/hop/" + std::to_string(number(5) - 1)};
    } else if (p.rfind("/to/", 0) == 0) {
        reply = Reply{302, "", p.substr(4)};
    } else if (p == "/slow") {
        reply.delayMs = 2000;
    } else if (p.rfind("/size/", 0) == 0 || p.rfind("/stream/", 0) == 0) {
        reply.omitContentLength = p.rfind("/stream/", 0) == 0;
        reply.body = TestBytes(number(p.find('/', 1) + 1));
    } else if (p == "/echo") {
        reply.body = "answer:" + request.body + "|" + request.Header("Content-Type");
    }
    return reply;
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
    for (const size_t size : {0u, 3u << 20}) {
        for (const char* path : {"/size/", "/stream/"}) {
            SCOPED_TRACE(path + std::to_string(size));
            std::string body = "stale";
            ASSERT_EQ(Get(server.Url(path + std::to_string(size)), &body), ca::kOk);
            EXPECT_TRUE(body == TestBytes(size)) << "size " << body.size();
        }
    }
    std::string body;
    ASSERT_EQ(Get(server.Url("/hop/3"), &body), ca::kOk);
    EXPECT_EQ(body, "arrived");
}

TEST_F(HttpTest, FailuresMapToConnectionOrServerErrorWithinTheBounds) {
    CRefusingLoopbackPort refusing;
    const struct {
        const char* label;
        std::string url;
        uint32_t code;
        bool tight;  // at most one redirect and 1,000 bytes
    } cases[] = {
        {"400", server.Url("/status/400"), ca::kServerError, false},
        {"399", server.Url("/status/399"), ca::kOk, false},
        {"refused port", refusing.Url("/x"), ca::kConnectionError, false},
        {"file scheme", "file:///etc/passwd", ca::kConnectionError, false},
        {"redirect to file scheme", server.Url("/to/file:///etc/passwd"), ca::kConnectionError, false},
        {"five redirects", server.Url("/hop/5"), ca::kOk, false},
        {"six redirects", server.Url("/hop/6"), ca::kConnectionError, false},
        {"one redirect", server.Url("/hop/1"), ca::kOk, true},
        {"two redirects", server.Url("/hop/2"), ca::kConnectionError, true},
        {"at the limit", server.Url("/size/1000"), ca::kOk, true},
        {"declared above the limit", server.Url("/size/1001"), ca::kConnectionError, true},
        {"streamed at the limit", server.Url("/stream/1000"), ca::kOk, true},
        {"streamed above the limit", server.Url("/stream/1001"), ca::kConnectionError, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        ca::HttpSettings settings;
        if (c.tight) {
            settings.maxRedirects = 1;
            settings.maxDownload = 1000;
        }
        ca::Http::Configure(settings);
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
    CLogScope log;
    const std::string url = server.Url("/status/503");
    EXPECT_EQ(Get(url), ca::kServerError);
    EXPECT_EQ(log.Take(),
              (std::vector<SLogLine>{
                  {L"GET " + std::wstring(url.begin(), url.end()) + L": HTTP status 503", true}}));
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

TEST_F(HttpTest, PostSendsExactBytesAndReturnsTheAnswerOrTheFailure) {
    CRefusingLoopbackPort refusing;
    const std::string payload = TestBytes(2u << 20);
    const std::string expected = "answer:" + payload + "|application/octet-stream";
    const struct {
        const char* label;
        std::string url;
        uint32_t code;
        const char* error;
    } cases[] = {{"echo", server.Url("/echo"), ca::kOk, ""},
                 {"500", server.Url("/status/500"), ca::kServerError, "HTTP status 500"},
                 {"refused port", refusing.Url("/up"), ca::kConnectionError, nullptr},
                 {"file scheme", "file:///tmp/upload", ca::kConnectionError, nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        ca::MallocPtr answer;
        uint32_t answerSize = 77;
        std::string error = "stale";
        EXPECT_EQ(ca::Http::PostBlob(c.url, 0, {"Content-Type: application/octet-stream"},
                                     reinterpret_cast<const uint8_t*>(payload.data()),
                                     static_cast<uint32_t>(payload.size()), answer, answerSize, error),
                  c.code);
        if (c.error != nullptr) {
            EXPECT_EQ(error, c.error);
        } else {
            EXPECT_FALSE(error.empty() || error == "stale");
        }
        if (c.code == ca::kOk) {
            EXPECT_TRUE(answerSize == expected.size() &&
                        std::memcmp(answer.get(), expected.data(), answerSize) == 0);
        } else {
            EXPECT_EQ(answer, nullptr);
            EXPECT_EQ(answerSize, 77u);
        }
    }
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_TRUE(requests[0].body == payload);
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
