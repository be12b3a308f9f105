#include "module/CryptoModule.h"

#include <cstring>
#include <exception>

#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/ErrorMessageHelper.h"
#include "base/Lng.h"
#include "base/Log.h"
#include "config/Network.h"
#include "mod_ses.h"
#include "module/MessageBox.h"
#include "module/RecordFactory.h"

namespace ca {

namespace {

// The answer of last resort, when even building an answer failed (memory exhausted).
constexpr char kFallbackAnswer[] = "{\"errorCode\":16197,\"errorMessage\":\"ERROR Execution error\"}";

void AnswerExecutionError(CryptPacket& packet) {
    packet.response.Clear();
    packet.response.binaryFileData = false;
    packet.response.errorCode = kExecutionError;
    packet.response.errorMessage = GetErrorMessage(kExecutionError, true);
}

void WriteAnswer(CMPacket& host, CryptResponse& response) {
    rapidjson::StringBuffer buffer(nullptr, 256);
    response.ToJson(buffer);
    const size_t jsonLength = buffer.GetSize();
    const uint8_t* data = nullptr;
    size_t dataSize = 0;
    auto* fileData = static_cast<FileData*>(response.GetObject(kTypeFileData));
    const bool dataFollows = response.binaryFileData && fileData != nullptr;
    if (dataFollows) {
        data = fileData->Bytes();
        dataSize = fileData->size;
        // A payload built with headroom (an attached container) becomes the answer in place.
        if (MallocPtr block = fileData->TakeAnswerBlock(buffer.GetString(), jsonLength); block != nullptr) {
            host.responseSize = jsonLength + 1 + dataSize;
            host.response = reinterpret_cast<char*>(block.release());
            return;
        }
    }
    MallocPtr answer = AllocOrThrow(jsonLength + 1 + dataSize);
    std::memcpy(answer.get(), buffer.GetString(), jsonLength);
    answer[jsonLength] = 0;
    if (dataSize != 0) {
        std::memcpy(answer.get() + jsonLength + 1, data, dataSize);
    }
    // Deliberate: the NUL is counted only when data follows it.
    host.responseSize = dataFollows ? jsonLength + 1 + dataSize : jsonLength;
    host.response = reinterpret_cast<char*>(answer.release());
}

}  // namespace

void CryptoModule::_RunRequest(const CMPacket& host, CryptPacket& packet) {
    try {
        packet.request.FromHostBuffer(host.request, host.requestLength);
        if (config.logMode == 3) {
            const std::string encoded =
                Base64Encode(packet.request.GetFileData(), packet.request.GetFileDataSize());
            LogEvent((L"Request filedata : " + u8u16(encoded)).c_str(), false);
        }
        ProcessClientRequest(packet, host.isLocal);
        packet.response.binaryFileData = packet.request.binaryFileData;
        if (packet.response.errorCode == 0 && !packet.request.uploadUrl.empty() &&
            packet.request.streamFinalChunk) {
            packet.UploadFileData(30000);
        }
    } catch (const Exception& e) {
        LogError(GetLineString("CryptoModule", 95).c_str(), L"", e.code, false);
        packet.response.errorCode = e.code;
        packet.response.errorMessage = GetErrorMessage(e.code, true);
    } catch (const std::exception& e) {
        // A host must never die because of a request: foreign exceptions become 16197.
        LogEvent((L"CryptoModule:101: " + u8u16(e.what())).c_str(), true);
        AnswerExecutionError(packet);
    } catch (...) {
        LogEvent(L"CryptoModule:104: unknown exception", true);
        AnswerExecutionError(packet);
    }
}

namespace {

// CCallInFlight counts one ProcessJson for WaitForCalls.
class CCallInFlight {
public:
    CCallInFlight(std::mutex& lock, std::condition_variable& done, size_t& count)
        : _lock(lock), _done(done), _count(count) {
        std::lock_guard<std::mutex> guard(_lock);
        ++_count;
    }
    ~CCallInFlight() {
        std::lock_guard<std::mutex> guard(_lock);
        if (--_count == 0) {
            _done.notify_all();
        }
    }
    CCallInFlight(const CCallInFlight&) = delete;
    CCallInFlight& operator=(const CCallInFlight&) = delete;

private:
    std::mutex& _lock;
    std::condition_variable& _done;
    size_t& _count;
};

}  // namespace

CryptoModule::CryptoModule(bool inServiceMode) : serviceMode(inServiceMode) { InstallModuleRecords(); }

void CryptoModule::WaitForCalls() {
    std::unique_lock<std::mutex> guard(_callsLock);
    _callsDone.wait(guard, [this] { return _callsInFlight == 0; });
}

void CryptoModule::ProcessJson(CMPacket& host) noexcept {
    const CCallInFlight inFlight(_callsLock, _callsDone, _callsInFlight);
    const CBindingScope scope(binding);
    host.response = nullptr;
    host.responseSize = 0;
    try {
        CryptPacket packet;
        _RunRequest(host, packet);
        try {
            WriteAnswer(host, packet.response);
            return;
        } catch (const Exception& e) {
            // The answer itself could not be built (too large, out of memory): answer the code alone.
            packet.response.Clear();
            packet.response.binaryFileData = false;
            packet.response.errorCode = e.code;
            packet.response.errorMessage = GetErrorMessage(e.code, true);
            WriteAnswer(host, packet.response);
            return;
        }
    } catch (...) {
        LogEvent(L"CryptoModule:126: the answer could not be built", true);
    }
    void* fallback = std::malloc(sizeof(kFallbackAnswer));
    if (fallback != nullptr) {
        std::memcpy(fallback, kFallbackAnswer, sizeof(kFallbackAnswer));
        host.response = static_cast<char*>(fallback);
        host.responseSize = sizeof(kFallbackAnswer) - 1;
    }
}

bool CryptoModule::ReadConfig() {
    std::wstring errorText;
    const bool ok = config.ReadConfig(errorText, serviceMode);
    // Whatever was read (or the defaults) drives the HTTP client from now on; its own limits stay.
    HttpSettings http = Http::Settings();
    http.proxyAddress = u16u8(config.proxyAddress);
    http.proxyPort = config.proxyPort;
    http.proxyType = config.proxyType;
    http.proxyLogin = u16u8(config.proxyLogin);
    http.proxyPassword = u16u8(config.proxyPassword);
    http.generalTimeoutMs = config.generalTimeout;
    Http::Configure(http);
    if (ok && errorText.empty()) {
        return true;
    }
    // Deliberate: a missing or broken file never stops start-up; the defaults are used.
    std::wstring text = SetVALKOMessage(msg::kConfigReadFailed) + errorText;
    if (!ok) {
        text += SetVALKOMessage(msg::kUsingDefaults);
    }
    if (!serviceMode) {
        _configWarning = std::move(text);
    }
    return true;
}

void CryptoModule::ShowConfigWarning() {
    if (_configWarning.empty()) {
        return;
    }
    MessageBoxWarning(_configWarning, SetVALKOMessage(msg::kConfigErrorCaption));
    _configWarning.clear();
}

}  // namespace ca
