// The signing operations: a signature is an "SES" container whose CRC element holds
// the base64 of the decimal CRC-64 of the data.
#include <tinyxml.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/ErrorMessageHelper.h"
#include "base/Lng.h"
#include "base/Log.h"
#include "ses/Hasher.h"
#include "ses/Operations.h"
#include "ses/SesContainer.h"
#include "ses/Utils.h"

namespace {

std::wstring Base64Text(const uint8_t* bytes, size_t size) {
    return ca::u8u16(ca::Base64Encode(bytes, static_cast<uint32_t>(size)));
}

void SetResultText(ca::CryptPacket& packet, const std::string& text) {
    packet.response.SetObject(std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>(text.data()),
                                                             static_cast<uint32_t>(text.size())),
                              true);
}

// kAttachedMark stands in for the payload's base64 while the container is printed: one alphabet
// character, so the element prints exactly as the real text would around it.
constexpr char kAttachedMark[] = "<Attached>A</Attached>";

// SetAttachedResult prints container with the payload's base64 written straight into the answer,
// so that the text never exists as a wide string or a second copy.
void SetAttachedResult(ca::CryptPacket& packet, CSesContainer& container, const uint8_t* payload,
                       size_t size) {
    container.signature->Attached = L"A";
    const std::string printed = container.Print();
    const size_t mark = printed.find(kAttachedMark);
    const size_t encoded = ca::Base64EncodedSize(size);
    const size_t open = sizeof("<Attached>") - 1;
    const size_t total = printed.size() - 1 + encoded;
    // Room for the answer's JSON before the container, so that the module sends this block itself.
    constexpr uint32_t kHeadroom = 4096;
    if (mark == std::string::npos || total > UINT32_MAX - kHeadroom) {
        throw ca::Exception(ca::kBadData);
    }
    ca::MallocPtr answer = ca::AllocOrThrow(kHeadroom + total);
    char* out = reinterpret_cast<char*>(answer.get()) + kHeadroom;
    // The text around the mark's "A" (copied, not as strings: the block holds no terminator).
    const auto head = printed.begin() + static_cast<std::ptrdiff_t>(mark + open);
    out = std::copy(printed.begin(), head, out);
    out += ca::Base64EncodeTo(payload, size, out);
    std::copy(head + 1, printed.end(), out);
    packet.response.SetObject(
        ca::FileData::WithHeadroom(std::move(answer), static_cast<uint32_t>(total), kHeadroom), true);
}

}  // namespace

namespace ses {

void Sign(SEngine& engine, ca::CryptPacket& packet) {
    try {
        if (packet.request.addSigner) {
            // Co-signing is not offered by this module.
            ca::LogError(ca::GetLineString("CryptoModule", 349).c_str(), L"", ca::kMethodNotSupported, true);
        }
        Crc64Hash hash;
        hash.Compute(packet.request.GetFileData(), packet.request.GetFileDataSize());
        SignHashValue(engine, packet, hash.GetValue(), hash.GetValueLength());
        LogEvent(SetVALKOMessage(msg::kSignatureWritten), false);
    } catch (const ca::Exception& e) {
        packet.response.errorCode = e.code;
    }
}

void SignHash(SEngine& engine, ca::CryptPacket& packet) {
    SignHashValue(engine, packet, reinterpret_cast<const char*>(packet.request.GetFileData()),
                  packet.request.GetFileDataSize());
}

void SignHashValue(SEngine& engine, ca::CryptPacket& packet, const char* hash, size_t length) {
    const ca::CryptRequest& request = packet.request;
    LogEvent((L"Идентификатор сертификата = \"" + request.senderCertId + L"\"").c_str(), false);
    const SesCertInfo2* signer = engine.certificates.GetCert(request.senderCertId);
    if (signer == nullptr) {
        packet.response.needCertId = request.senderCertId;
        LogEvent((GetErrorMessage(ca::kNeedCert, true) + L" " + request.senderCertId).c_str(), true);
        throw ca::Exception(ca::kNeedCert, GetErrorMessage(ca::kNeedCert, false));
    }
    CSesContainer container;
    container.certificate = std::make_unique<CSesCert>(signer->cert);
    container.signature = std::make_unique<CSesSignature>();
    CSesSignature& signature = *container.signature;
    signature.SignTimeUTC = NowDateTimeString(true);
    signature.Comment = request.comment;
    signature.URI = request.uri;
    signature.CRC = Base64Text(reinterpret_cast<const uint8_t*>(hash), length);
    if (request.isAttached && request.GetFileDataSize() != 0) {
        SetAttachedResult(packet, container, request.GetFileData(), request.GetFileDataSize());
        return;
    }
    SetResultText(packet, container.Print());
}

void CreateHash(SEngine&, ca::CryptPacket& packet) {
    Crc64Hash hash;
    hash.Compute(packet.request.GetFileData(), packet.request.GetFileDataSize());
    SetResultText(packet, std::string(hash.GetValue(), hash.GetValueLength()));
    packet.response.errorCode = ca::kOk;
}

void SignRaw(SEngine&, ca::CryptPacket& packet) {
    if (!packet.request.senderCertId.empty()) {
        ca::LogEventFmt(L"Received cert id \"%ls\"", false, packet.request.senderCertId.c_str());
    }
    packet.response.SetObject(std::make_unique<ca::FileData>(), true);
    packet.response.errorCode = ca::kOk;
}

void SignHashRaw(SEngine&, ca::CryptPacket& packet) {
    (void)packet.request.GetFileData();
    (void)packet.request.GetFileDataSize();
}

}  // namespace ses
