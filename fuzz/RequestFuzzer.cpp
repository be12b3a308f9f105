// Feeds arbitrary bytes to the module through its C interface, as a host would, and checks the
// framing of every answer. An even input length is a local request, an odd one a remote request.
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

#include "config/Network.h"
#include "fuzz/FuzzTarget.h"
#include "mod_ses.h"

const char* const kFuzzTarget = "fuzz_request";

namespace {

bool DiscardLine(const wchar_t* /*text*/, bool /*isError*/) { return true; }

// SHome is the run's HOME, removed when the program ends.
struct SHome {
    std::string path = (std::filesystem::temp_directory_path() / "fuzz-request-XXXXXX").string();
    ~SHome() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

// Module creates the one module of the run, with HOME in an empty folder so that no configuration
// or certificate of the machine takes part.
void* Module() {
    static void* const module = [] {
        static SHome home;
        if (mkdtemp(home.path.data()) == nullptr) {
            Fail("cannot create a temporary HOME");
        }
        setenv("HOME", home.path.c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home.path + "/.config").c_str(), 1);
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
        void* created = CM_Init(true, DiscardLine);
        if (created == nullptr) {
            Fail("CM_Init failed");
        }
        // A request may name download or upload addresses: send them all to a closed loopback port.
        ca::HttpSettings settings = ca::Http::Settings();
        settings.proxyAddress = "127.0.0.1";
        settings.proxyPort = 9;
        settings.proxyType = 0;
        settings.generalTimeoutMs = 1000;
        ca::Http::Configure(settings);
        return created;
    }();
    return module;
}

// CheckResponse holds the module to its framing: the JSON, its NUL and, exactly when the answer
// says "fileDataSize", that many bytes counted in responseSize.
void CheckResponse(const char* response, uint64_t responseSize) {
    if (response == nullptr) {
        Fail("no response");
    }
    const void* nul = std::memchr(response, '\0', static_cast<size_t>(responseSize));
    const size_t jsonLength =
        nul != nullptr ? static_cast<size_t>(static_cast<const char*>(nul) - response) : responseSize;
    if (nul == nullptr && response[responseSize] != '\0') {  // out of bounds when the NUL is missing
        Fail("response JSON is not NUL-terminated");
    }
    rapidjson::Document answer;
    answer.Parse<rapidjson::kParseIterativeFlag>(response, jsonLength);
    if (answer.HasParseError() || !answer.IsObject()) {
        Fail("response is no JSON object");
    }
    const auto code = answer.FindMember("errorCode");
    const auto message = answer.FindMember("errorMessage");
    if (code == answer.MemberEnd() || !code->value.IsUint() || message == answer.MemberEnd() ||
        !message->value.IsString()) {
        Fail("response lacks errorCode or errorMessage");
    }
    const auto size = answer.FindMember("fileDataSize");
    if (size == answer.MemberEnd()) {
        if (nul != nullptr) {
            Fail("bytes follow a response without fileDataSize");
        }
        return;
    }
    if (nul == nullptr || !size->value.IsUint64() ||
        size->value.GetUint64() != responseSize - jsonLength - 1) {
        Fail("fileDataSize does not match the bytes behind the JSON");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > UINT32_MAX) {
        return 0;
    }
    void* module = Module();
    CMPacket packet{};
    packet.request = reinterpret_cast<const char*>(data);
    packet.requestLength = static_cast<uint32_t>(size);
    packet.isLocal = size % 2 == 0;
    CM_ProcessClientRequest(module, &packet);
    CheckResponse(packet.response, packet.responseSize);
    std::free(packet.response);
    return 0;
}
