#include "config/Network.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <mutex>
#include <new>

#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "base/Log.h"
#include "config/curl_isolate.h"

namespace ca {

namespace {

// The connection phase is bounded even when the configuration sets no overall limit (0).
constexpr long kMaxConnectTimeoutMs = 30000;
// Without an overall limit a stalled transfer ends after this many seconds below one byte a second.
constexpr long kStallSeconds = 60;
constexpr size_t kFirstBufferSize = size_t{16} * 1024;

// Proxy types in configuration order: 0 HTTP, 1 SOCKS4, 2 SOCKS5, 3 SOCKS4A.
constexpr long kProxyTypes[] = {CURLPROXY_HTTP, CURLPROXY_SOCKS4, CURLPROXY_SOCKS5, CURLPROXY_SOCKS4A};

struct SSettingsState {
    std::mutex mutex;
    HttpSettings settings;
};

SSettingsState& SettingsState() {
    static SSettingsState state;
    return state;
}

// CBodyBuffer collects an answer in a malloc'ed block that grows geometrically up to a limit.
class CBodyBuffer {
public:
    explicit CBodyBuffer(size_t inLimit) : _limit(inLimit) {}
    CBodyBuffer(const CBodyBuffer&) = delete;
    CBodyBuffer& operator=(const CBodyBuffer&) = delete;
    ~CBodyBuffer() { std::free(_data); }

    // Append is called from libcurl's write callback: it must not throw.
    bool Append(const char* bytes, size_t count) noexcept {
        if (count > _limit - _size) {
            oversize = true;
            return false;
        }
        if (count > _capacity - _size) {
            size_t grown = _capacity < _limit / 2 ? std::max(_capacity * 2, kFirstBufferSize) : _limit;
            grown = std::min(std::max(grown, _size + count), _limit);
            void* moved = std::realloc(_data, grown);
            if (moved == nullptr) {
                outOfMemory = true;
                return false;
            }
            _data = static_cast<uint8_t*>(moved);
            _capacity = grown;
        }
        std::memcpy(_data + _size, bytes, count);
        _size += count;
        return true;
    }

    // Release hands the bytes over as one block of at least one byte (an empty answer included).
    MallocPtr Release() {
        if (_data == nullptr) {
            return AllocOrThrow(1);
        }
        if (_capacity > _size && _size > 0) {
            void* shrunk = std::realloc(_data, _size);
            if (shrunk != nullptr) {
                _data = static_cast<uint8_t*>(shrunk);
            }
        }
        MallocPtr out(_data);
        _data = nullptr;
        _size = _capacity = 0;
        return out;
    }

    size_t Size() const { return _size; }
    size_t Limit() const { return _limit; }

    bool oversize = false;
    bool outOfMemory = false;

private:
    uint8_t* _data = nullptr;
    size_t _size = 0;
    size_t _capacity = 0;
    size_t _limit;
};

extern "C" size_t WriteBody(char* bytes, size_t size, size_t count, void* user) {
    if (size != 0 && count > std::numeric_limits<size_t>::max() / size) {
        return 0;
    }
    const size_t total = size * count;
    return static_cast<CBodyBuffer*>(user)->Append(bytes, total) ? total : 0;
}

// CEasy owns one easy handle.
class CEasy {
public:
    explicit CEasy(const CurlApi& inApi) : api(inApi), handle(inApi.easyInit()) {}
    CEasy(const CEasy&) = delete;
    CEasy& operator=(const CEasy&) = delete;
    ~CEasy() {
        if (handle != nullptr) {
            api.easyCleanup(handle);
        }
    }

    const CurlApi& api;
    CURL* handle;
};

// CHeaderList owns a curl_slist.
class CHeaderList {
public:
    explicit CHeaderList(const CurlApi& inApi) : api(inApi) {}
    CHeaderList(const CHeaderList&) = delete;
    CHeaderList& operator=(const CHeaderList&) = delete;
    ~CHeaderList() { api.slistFreeAll(list); }

    bool Append(const std::string& line) {
        curl_slist* longer = api.slistAppend(list, line.c_str());
        if (longer == nullptr) {
            return false;
        }
        list = longer;
        return true;
    }

    const CurlApi& api;
    curl_slist* list = nullptr;
};

// STransfer describes one request; body receives the answer.
struct STransfer {
    const std::string& url;
    long timeoutMs;
    const curl_slist* headers;
    bool isPost;
    const uint8_t* postData;
    uint32_t postSize;
    CBodyBuffer& body;
};

bool StartsWithNoCase(const std::string& text, const char* prefix) {
    const size_t n = std::strlen(prefix);
    if (text.size() < n) {
        return false;
    }
    for (size_t i = 0; i < n; ++i) {
        const char a = text[i];
        const char b = prefix[i];
        const char la = (a >= 'A' && a <= 'Z') ? static_cast<char>(a - 'A' + 'a') : a;
        const char lb = (b >= 'A' && b <= 'Z') ? static_cast<char>(b - 'A' + 'a') : b;
        if (la != lb) {
            return false;
        }
    }
    return true;
}

CURLcode RestrictProtocols(const CEasy& easy) {
#if LIBCURL_VERSION_NUM >= 0x075500
    CURLcode rc = easy.api.easySetopt(easy.handle, CURLOPT_PROTOCOLS_STR, "http,https");
    if (rc == CURLE_OK) {
        rc = easy.api.easySetopt(easy.handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    }
    if (rc != CURLE_UNKNOWN_OPTION) {
        return rc;
    }
#endif
    // A library older than 7.85 knows only the bitmask options.
    const long allowed = CURLPROTO_HTTP | CURLPROTO_HTTPS;
    CURLcode rc2 = easy.api.easySetopt(easy.handle, CURLOPT_PROTOCOLS, allowed);
    if (rc2 == CURLE_OK) {
        rc2 = easy.api.easySetopt(easy.handle, CURLOPT_REDIR_PROTOCOLS, allowed);
    }
    return rc2;
}

// ConfigureEasy sets every option of a transfer; the first failing option's code is returned.
CURLcode ConfigureEasy(const CEasy& easy, const STransfer& transfer, const HttpSettings& settings,
                       char* errorBuffer) {
    const CurlApi& api = easy.api;
    CURL* h = easy.handle;
    CURLcode rc = api.easySetopt(h, CURLOPT_ERRORBUFFER, errorBuffer);
    // Each option is only tried while all before it succeeded.
    const auto set = [&rc, &api, h](CURLoption option, auto value) {
        if (rc == CURLE_OK) {
            rc = api.easySetopt(h, option, value);
        }
    };
    set(CURLOPT_URL, transfer.url.c_str());
    if (rc == CURLE_OK) {
        rc = RestrictProtocols(easy);
    }
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_NOPROGRESS, 1L);
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, std::max(settings.maxRedirects, 0L));

    const long timeoutMs =
        transfer.timeoutMs > 0 ? transfer.timeoutMs : std::max(settings.generalTimeoutMs, 0L);
    set(CURLOPT_TIMEOUT_MS, timeoutMs);
    set(CURLOPT_CONNECTTIMEOUT_MS,
        timeoutMs > 0 ? std::min(timeoutMs, kMaxConnectTimeoutMs) : kMaxConnectTimeoutMs);
    if (timeoutMs == 0) {
        set(CURLOPT_LOW_SPEED_LIMIT, 1L);
        set(CURLOPT_LOW_SPEED_TIME, kStallSeconds);
    }

    // Deliberate: only the configured proxy is used. An empty address switches off the proxy
    // environment variables too, so a transfer goes where the configuration says.
    if (settings.proxyAddress.empty()) {
        set(CURLOPT_PROXY, "");
    } else {
        const bool knownType =
            settings.proxyType >= 0 && settings.proxyType < static_cast<long>(std::size(kProxyTypes));
        set(CURLOPT_PROXY, settings.proxyAddress.c_str());
        set(CURLOPT_PROXYPORT, settings.proxyPort);
        set(CURLOPT_PROXYTYPE,
            knownType ? kProxyTypes[settings.proxyType] : static_cast<long>(CURLPROXY_HTTP));
        if (!settings.proxyLogin.empty()) {
            set(CURLOPT_PROXYUSERNAME, settings.proxyLogin.c_str());
            set(CURLOPT_PROXYPASSWORD, settings.proxyPassword.c_str());
        }
    }

    set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(transfer.body.Limit()));
    set(CURLOPT_WRITEFUNCTION, &WriteBody);
    set(CURLOPT_WRITEDATA, static_cast<void*>(&transfer.body));
    if (transfer.headers != nullptr) {
        set(CURLOPT_HTTPHEADER, transfer.headers);
    }
    if (transfer.isPost) {
        static const char kNoBytes[1] = {0};
        const void* bytes =
            transfer.postData != nullptr ? static_cast<const void*>(transfer.postData) : kNoBytes;
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE,
            static_cast<curl_off_t>(transfer.postData != nullptr ? transfer.postSize : 0));
        set(CURLOPT_POSTFIELDS, bytes);
    }
    return rc;
}

// Transfer runs one request. Returns 0, kCurlInitError, kConnectionError or kServerError with a
// UTF-8 reason in error; throws Exception(kExecutionError) when the answer cannot be stored.
uint32_t Transfer(const STransfer& transfer, std::string& error) {
    const CurlApi* api = CurlLoad(error);
    if (api == nullptr) {
        error = std::string(kCurlLibraryName) + " cannot be used: " + error;
        return kCurlInitError;
    }
    const HttpSettings settings = Http::Settings();
    CEasy easy(*api);
    if (easy.handle == nullptr) {
        error = "curl_easy_init failed";
        return kCurlInitError;
    }
    char errorBuffer[CURL_ERROR_SIZE] = {};
    CURLcode rc = ConfigureEasy(easy, transfer, settings, errorBuffer);
    if (rc != CURLE_OK) {
        error = std::string("cannot set up the transfer: ") + api->easyStrerror(rc);
        return kConnectionError;
    }
    rc = api->easyPerform(easy.handle);
    if (transfer.body.outOfMemory) {
        throw Exception(kExecutionError);
    }
    if (transfer.body.oversize || rc == CURLE_FILESIZE_EXCEEDED) {
        error = "the answer exceeds " + std::to_string(transfer.body.Limit()) + " bytes";
        return kConnectionError;
    }
    if (rc != CURLE_OK) {
        error = errorBuffer[0] != '\0' ? errorBuffer : api->easyStrerror(rc);
        return kConnectionError;
    }
    long status = 0;
    if (api->easyGetinfo(easy.handle, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK) {
        status = 0;
    }
    if (status >= 400) {
        error = "HTTP status " + std::to_string(status);
        return kServerError;
    }
    return kOk;
}

size_t AnswerLimit() {
    return std::min<size_t>(Http::Settings().maxDownload, std::numeric_limits<uint32_t>::max());
}

}  // namespace

void Http::Configure(const HttpSettings& settings) {
    SSettingsState& state = SettingsState();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.settings = settings;
}

HttpSettings Http::Settings() {
    SSettingsState& state = SettingsState();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.settings;
}

bool Http::Available() {
    std::string error;
    return CurlLoad(error) != nullptr;
}

uint32_t Http::GetBlob(const std::string& url, MallocPtr& out, long timeoutMs) {
    CBodyBuffer body(AnswerLimit());
    std::string error;
    const STransfer transfer{url, timeoutMs, nullptr, false, nullptr, 0, body};
    const uint32_t code = Transfer(transfer, error);
    if (code != kOk) {
        // The response shows the code's own text; the detail goes to the log.
        LogEvent(u8u16("GET " + url + ": " + error).c_str(), true);
        throw Exception(code);
    }
    const auto size = static_cast<uint32_t>(body.Size());
    out = body.Release();
    return size;
}

uint32_t Http::PostBlob(const std::string& url, long timeoutMs, const std::vector<std::string>& headers,
                        const uint8_t* data, uint32_t size, MallocPtr& answer, uint32_t& answerSize,
                        std::string& errorText) {
    errorText.clear();
    const CurlApi* api = CurlLoad(errorText);
    if (api == nullptr) {
        errorText = std::string(kCurlLibraryName) + " cannot be used: " + errorText;
        return kCurlInitError;
    }
    CHeaderList list(*api);
    bool hasExpect = false;
    for (const std::string& line : headers) {
        hasExpect = hasExpect || StartsWithNoCase(line, "Expect:");
        if (!list.Append(line)) {
            throw Exception(kExecutionError);
        }
    }
    // Without this libcurl pauses up to a second before a large body, waiting for "100 Continue".
    if (!hasExpect && !list.Append("Expect:")) {
        throw Exception(kExecutionError);
    }
    CBodyBuffer body(AnswerLimit());
    const STransfer transfer{url, timeoutMs, list.list, true, data, size, body};
    const uint32_t code = Transfer(transfer, errorText);
    if (code != kOk) {
        return code;
    }
    answerSize = static_cast<uint32_t>(body.Size());
    answer = body.Release();
    return kOk;
}

}  // namespace ca
