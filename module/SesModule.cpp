#include "module/SesModule.h"

#include <algorithm>
#include <iterator>

#include "base/ErrorCodes.h"
#include "base/ErrorMessageHelper.h"
#include "base/Lng.h"
#include "base/Modes.h"

namespace {

using Operation = void (CSesModule::*)(ca::CryptPacket&, CancellationToken&);

// SModeRow is one method of the mode table: a null log line logs nothing, a null operation
// succeeds without doing anything.
struct SModeRow {
    uint32_t mode;
    const wchar_t* logLine;
    bool needsKey;
    Operation op;
};

constexpr SModeRow kModes[] = {
    {ca::kModeNoOp11, nullptr, true, nullptr},
    {ca::kModeSign, L"> Sign", true, &CSesModule::Sign},
    {ca::kModeVerify, L"> Verify", false, &CSesModule::Verify},
    {ca::kModeSetCert, L"> SetCert", false, &CSesModule::SetCert},
    {ca::kModeGetCertInfo, L"> GetCertInfo", false, &CSesModule::GetCertInfo},
    {ca::kModeNoOp24, nullptr, false, nullptr},
    {ca::kModeCertValidation, L"> CertValidation", false, &CSesModule::CertValidation},
    {ca::kModeSign27, L"> Sign", true, &CSesModule::Sign},
    {ca::kModeGetSignInfo, L"> GetSignInfo", false, &CSesModule::GetSignInfo},
    {ca::kModeGetCertInfo2, L"> GetCertInfo2", false, &CSesModule::GetCertInfo2},
    {ca::kModeGetCert, L"> GetCert", false, &CSesModule::GetCert},
    {ca::kModeSetCurStore, L"> SetCurStore", false, &CSesModule::SetCurStore},
    {ca::kModeEnumStore, L"> EnumStore", false, &CSesModule::EnumStore},
    {ca::kModeEnumCerts, L"> EnumCerts", false, &CSesModule::EnumCerts},
    {ca::kModeNoOp42, nullptr, false, nullptr},
    {ca::kModeGetSignType, L"> GetSignType", false, &CSesModule::GetSignType},
    {ca::kModeSetCert2, L"> SetCert2", false, &CSesModule::SetCert2},
    {ca::kModeGetCurStore, L"> GetCurStore", false, &CSesModule::GetCurStore},
    {ca::kModeCreateHash, L"> CreateHash", false, &CSesModule::CreateHash},
    {ca::kModeStreamSign, L"> StreamSign", true, &CSesModule::StreamSign},
    {ca::kModeStreamVerify, L"> StreamVerify", false, &CSesModule::StreamVerify},
    {ca::kModeStreamGetSignInfo, L"> StreamGetSignInfo", false, &CSesModule::StreamGetSignInfo},
    {ca::kModeSignHash, L"> SignHash", true, &CSesModule::SignHash},
    {ca::kModeGetSignInfo2, L"> GetSignInfo2", false, &CSesModule::GetSignInfo2},
    {ca::kModeReleaseClient, L"> ReleaseClient", false, &CSesModule::ReleaseClient},
    {ca::kModeStreamHash, L"> StreamHash", false, &CSesModule::StreamHash},
    {ca::kModeParseCert, L"> ParseCert", false, &CSesModule::ParseCert},
};

constexpr bool ModesAscending() {
    for (size_t i = 1; i < std::size(kModes); ++i) {
        if (kModes[i - 1].mode >= kModes[i].mode || kModes[i].mode < 11 || kModes[i].mode > 65) {
            return false;
        }
    }
    return true;
}
static_assert(ModesAscending(), "the mode table is sorted, unique and within 11..65");

const SModeRow* FindMode(uint32_t mode) {
    const auto* row = std::lower_bound(std::begin(kModes), std::end(kModes), mode,
                                       [](const SModeRow& r, uint32_t m) { return r.mode < m; });
    return row != std::end(kModes) && row->mode == mode ? row : nullptr;
}

}  // namespace

CSesModule::CSesModule(bool inServiceMode, const ca::Clock& clock)
    : ca::CryptoModule(inServiceMode), contexts(this, clock), streams(this, clock) {}

CSesModule::~CSesModule() {
    WaitForCalls();
    const CBindingScope scope(binding);
    CleanUp();
}

bool CSesModule::Init(LogCallback logCallback) {
    // Everything Init sets up (language, callback, error texts) goes to this instance's binding.
    const CBindingScope scope(binding);
    if (!ReadConfig()) {
        return false;
    }
    if (!LogInit(logCallback, config.customErrorHandlers)) {
        return false;
    }
    // The configuration warning waited for the callback so that a host without a desktop logs it.
    ShowConfigWarning();
    LoadLocalCerts();
    LogEvent(SetVALKOMessage(msg::kModuleInitialized), false);
    return true;
}

void CSesModule::CleanUp() { contexts.CleanUp(); }

void CSesModule::ProcessClientRequest(ca::CryptPacket& packet, bool isLocal) {
    ca::CryptRequest& request = packet.request;
    ca::CryptResponse& response = packet.response;
    CCallContext call(packet, *this, contexts);
    LogEvent((L"clientId =  " + request.clientId).c_str(), false);
    CancellationToken token;
    try {
        const SModeRow* row = FindMode(request.mode);
        if (row == nullptr) {
            throw ca::Exception(ca::kMethodNotSupported);
        }
        // Checked before "test": a probe learns the access rights too.
        if (row->needsKey && !isLocal && !config.allowRemotePrivateKeyAccess) {
            throw ca::Exception(ca::kPrivateKeyDenied);
        }
        if (!request.test) {
            if (row->logLine != nullptr) {
                LogEvent(row->logLine, false);
            }
            if (row->op != nullptr) {
                (this->*row->op)(packet, token);
            }
        }
    } catch (const ca::Exception& e) {
        response.errorCode = e.code;
    }
    if (token.IsCancelled()) {
        return;
    }
    if (response.errorMessage.empty()) {
        response.errorMessage = GetErrorMessage(response.errorCode, true);
    }
    if (!request.test) {
        LogEvent(L"<", false);
    }
}

void CSesModule::StreamSign(ca::CryptPacket& packet, CancellationToken& token) {
    streams.Stream(packet, ca::StreamType::kSimple, token);
    if (packet.request.streamFinalChunk) {
        packet.request.mode = ca::kModeSign27;
        Sign(packet, token);
    }
}

void CSesModule::StreamVerify(ca::CryptPacket& packet, CancellationToken& token) {
    streams.Stream(packet, ca::StreamType::kSimple, token);
    if (packet.request.streamFinalChunk) {
        packet.request.mode = ca::kModeVerify;
        Verify(packet, token);
    }
}

void CSesModule::StreamGetSignInfo(ca::CryptPacket& packet, CancellationToken& token) {
    streams.Stream(packet, ca::StreamType::kSimple, token);
    if (packet.request.streamFinalChunk) {
        packet.request.mode = ca::kModeGetSignInfo;
        GetSignInfo(packet, token);
    }
}

void CSesModule::StreamHash(ca::CryptPacket& packet, CancellationToken& token) {
    streams.Stream(packet, ca::StreamType::kHash, token);
}

void CSesModule::ReleaseClient(ca::CryptPacket& packet, CancellationToken&) {
    contexts.Remove(packet.request.clientId);
    packet.response.errorCode = ca::kOk;
}
