// Reading a container back: checking its CRC against the data and describing the signer.
#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/ErrorMessageHelper.h"
#include "base/Lng.h"
#include "base/Log.h"
#include "base/Modes.h"
#include "ca/SignInfo.h"
#include "ca/VerificationResult.h"
#include "ses/Hasher.h"
#include "ses/Operations.h"
#include "ses/SesContainer.h"

namespace {

void SetResult(ca::VerificationResult& result, bool signature, uint32_t code, ValkoMessage text) {
    (signature ? result.signatureResult : result.certificateResult) = code;
    (signature ? result.signatureText : result.certificateText) = SetVALKOMessage(text);
}

}  // namespace

namespace ses {

std::unique_ptr<ca::SignInfos> ReadSignInfo(SEngine&, ca::CryptPacket& packet) {
    ca::CryptRequest& request = packet.request;
    const bool present = request.isAttached || request.sendSignData.size != 0;
    if (!present || (request.isAttached && request.GetFileDataSize() == 0)) {
        ca::RaiseAt({"CryptoModule", 434}, ca::kNoDataInArgs);
    }
    packet.SignBase64FormattedDecodeIfNeeded();
    const uint8_t* text = request.isAttached ? request.GetFileData() : request.sendSignData.data.get();
    const size_t length = request.isAttached ? request.GetFileDataSize() : request.sendSignData.size;
    std::unique_ptr<CSesContainer> container;
    try {
        container = CSesContainer::Parse(reinterpret_cast<const char*>(text), length);
    } catch (const ca::Exception&) {
        ca::RaiseAt({"CryptoModule", 510}, ca::kFileOperationError);
    }
    if (container->signature == nullptr) {
        return nullptr;
    }
    const CSesSignature& signature = *container->signature;
    auto infos = std::make_unique<ca::SignInfos>();
    auto info = std::make_unique<ca::SignInfo>();
    info->signId = signature.SignId;
    info->comment = signature.Comment;
    info->uri = signature.URI;
    info->signTime = signature.SignTimeUTC;
    info->signTimeUTC = signature.SignTimeUTC;
    if (container->certificate != nullptr) {
        info->signCert.CopyFrom(SesCertInfo2(*container->certificate));
    }
    // Deliberate: there is no certificate check, so the certificate counts as valid.
    SetResult(info->verifyResultEx, false, ca::kOk, msg::kCertificateValid);
    SetResult(info->verifyResultEx, true, ca::kOk, msg::kSignatureValid);
    if (signature.IsAttached()) {
        // Attached containers can be produced but not verified.
        ca::RaiseAt({"CryptoModule", 498}, ca::kFileOperationError);
    }
    Crc64Hash hash;
    hash.Compute(request.GetFileData(), request.GetFileDataSize());
    const std::string expected = ca::Base64Encode(reinterpret_cast<const uint8_t*>(hash.GetValue()),
                                                  static_cast<uint32_t>(hash.GetValueLength()));
    if (expected != ca::u16u8(signature.CRC)) {
        SetResult(info->verifyResultEx, true, ca::kSignatureInvalid, msg::kSignatureInvalid);
    }
    const ca::VerificationResult& result = info->verifyResultEx;
    info->verifyResult = GetErrorMessage(
        result.signatureResult != 0 ? result.signatureResult : result.certificateResult, true);
    if (result.signatureResult == 0 && result.certificateResult == 0) {
        info->verifyResult += L" Valid ";
    }
    infos->items.push_back(std::move(info));
    return infos;
}

void GetSignInfo(SEngine& engine, ca::CryptPacket& packet) {
    std::unique_ptr<ca::SignInfos> infos = ReadSignInfo(engine, packet);
    if (infos != nullptr) {
        packet.response.SetObject(std::move(infos), false);
    }
}

void Verify(SEngine& engine, ca::CryptPacket& packet) {
    try {
        if (!packet.request.isAttached && packet.request.sendSignData.size == 0) {
            ca::RaiseAt({"CryptoModule", 375}, ca::kNoDataInArgs);
        }
        const std::unique_ptr<ca::SignInfos> infos = ReadSignInfo(engine, packet);
        auto result = std::make_unique<ca::VerificationResult>();
        if (infos != nullptr && !infos->items.empty()) {
            const ca::SignInfo& first = *infos->items.front();
            *result = first.verifyResultEx;
            packet.response.needCertId = first.signCert.id;
        }
        LogEvent(SetVALKOMessage(msg::kSignatureVerified), false);
        packet.response.SetObject(std::move(result), false);
    } catch (const ca::Exception& e) {
        packet.response.errorCode = e.code;
    }
}

void VerifyRaw(SEngine&, ca::CryptPacket& packet) {
    packet.response.SetObject(std::make_unique<ca::VerificationResult>(), false);
    packet.response.errorCode = ca::kOk;
}

void GetSignInfo2(SEngine&, ca::CryptPacket& packet) {
    ca::CryptRequest& request = packet.request;
    request.isAttached = false;
    auto array = std::make_unique<ca::SignInfosArray>();
    // Deliberate: the entries are not parsed; the array only has the right length.
    for (const ca::Blob& entry : request.signatures) {
        array->items.push_back(std::make_unique<ca::SignInfos>());
        request.sendSignData.data.reset();
        request.sendSignData.size = 0;
        if (entry.size != 0) {
            request.sendSignData.data = ca::CopyBlob(entry.data.get(), entry.size);
            request.sendSignData.size = entry.size;
        }
    }
    packet.response.SetObject(std::move(array), false);
}

void GetSignType(SEngine&, ca::CryptPacket& packet) {
    ca::CryptRequest& request = packet.request;
    if ((request.mode == ca::kModeGetSignType || request.sendSignData.size == 0) &&
        request.GetFileDataSize() == 0) {
        ca::LogError(ca::GetLineString("CryptoModule", 774).c_str(), L"", ca::kNoDataInArgs, false);
        packet.response.errorCode = ca::kNoDataInArgs;
        return;
    }
    request.isAttached = false;
    packet.response.isAttached = false;
    packet.response.errorMessage = L"Detached";
    LogEvent(SetVALKOMessage(msg::kDetachedSignature), false);
}

}  // namespace ses
