#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Blob.h"

namespace ca {

// HttpSettings are the proxy and time-out values of the service configuration.
struct HttpSettings {
    std::string proxyAddress;  // empty: no proxy
    long proxyPort = 80;
    long proxyType = 0;  // 0 HTTP, 1 SOCKS4, 2 SOCKS5, 3 SOCKS4A
    std::string proxyLogin;
    std::string proxyPassword;
    long generalTimeoutMs = 30000;  // whole transfer, unless a call passes its own
    size_t maxDownload = size_t{1} << 30;
    long maxRedirects = 5;
};

// Http is the module's HTTP(S) client. libcurl.so.4 is loaded with dlopen on first use and never
// linked; only the http and https protocols are allowed, redirects and download sizes are bounded.
class Http {
public:
    // Configure replaces the process-wide settings (done once at CM_Init).
    static void Configure(const HttpSettings& settings);
    static HttpSettings Settings();

    // GetBlob downloads url into a new block and returns its size. Throws Exception with 16302 when
    // libcurl cannot be loaded, 16263 on a connection/transfer failure or an oversize answer, and
    // 16264 when the server answers with a status of 400 or more.
    static uint32_t GetBlob(const std::string& url, MallocPtr& out, long timeoutMs = 0);

    // PostBlob sends data with the given header lines. Returns 0 on success and fills the answer;
    // otherwise returns the error code (16302, 16263 or 16264) and a UTF-8 error text. Never throws
    // for a network failure.
    static uint32_t PostBlob(const std::string& url, long timeoutMs, const std::vector<std::string>& headers,
                             const uint8_t* data, uint32_t size, MallocPtr& answer, uint32_t& answerSize,
                             std::string& errorText);

    // Available tells whether libcurl.so.4 and every symbol the client needs could be loaded.
    static bool Available();
};

}  // namespace ca
