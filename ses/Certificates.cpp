// Store and certificate operations of CSesModule: one store, "MY", holding the local certificates,
// and a per-client current-store list that can only name the temporary store.
#include <unordered_set>

#include "ca/CertInfo2.h"
#include "ca/ErrorCodes.h"
#include "ca/StoreAddress.h"
#include "ca/StringArray.h"
#include "module/ErrorMessageHelper.h"
#include "module/Lng.h"
#include "module/Log.h"
#include "module/SesModule.h"

namespace {

[[noreturn]] void Fail(long line, uint32_t code) {
    ca::LogError(ca::GetLineString("CryptoModule", line).c_str(), L"", code, true);
    throw ca::Exception(code);  // not reached: LogError throws
}

// RequestStore validates the request's store address and gives the store it names; a request
// without one, or with an empty one, names the default "MY" store.
ca::StoreAddress RequestStore(const ca::CryptPacket& packet, bool rejectRemote, long line,
                              ValkoMessage received, bool machine) {
    const auto* given = static_cast<const ca::StoreAddress*>(packet.request.GetObject(ca::kTypeStoreAddress));
    if (given != nullptr && (!given->IsValid() || (rejectRemote && given->IsRemote()))) {
        Fail(line, ca::kWrongStoreAddress);
    }
    LogEvent(SetVALKOMessage(received), false);
    if (given == nullptr || given->IsEmpty()) {
        return ca::StoreAddress(L"MY", machine);
    }
    return *given;
}

void SetEmptyFileData(ca::CryptPacket& packet) {
    packet.response.SetObject(std::make_unique<ca::FileData>(), true);
}

void RequireFileData(const ca::CryptPacket& packet, long line) {
    if (packet.request.GetFileDataSize() == 0) {
        Fail(line, ca::kNoDataInArgs);
    }
}

}  // namespace

void CSesModule::EnumStore(ca::CryptPacket& packet, CancellationToken&) {
    RequestStore(packet, true, 262, msg::kStoreAddressReceived, serviceMode);
    auto stores = std::make_unique<ca::StringArray>(ca::kTypeStores);
    stores->items.emplace_back(L"MY");
    packet.response.SetObject(std::move(stores), false);
}

void CSesModule::EnumCerts(ca::CryptPacket& packet, CancellationToken&) {
    RequestStore(packet, false, 283, msg::kStoreAddressReceived2, serviceMode);
    auto list = std::make_unique<ca::StringArray>(ca::kTypeCertificates);
    list->items = certificates.Ids();
    packet.response.SetObject(std::move(list), false);
}

void CSesModule::GetCurStore(ca::CryptPacket& packet, CancellationToken&) {
    auto list = std::make_unique<ca::StoreAddresses>();
    list->items.emplace_back(L"", L"", L"VALKOTempStore");
    packet.response.SetObject(std::move(list), false);
}

void CSesModule::SetCurStore(ca::CryptPacket& packet, CancellationToken&) {
    ca::StoreAddresses chosen;
    if (const auto* given =
            static_cast<const ca::StoreAddresses*>(packet.request.GetObject(ca::kTypeStoreAddresses));
        given != nullptr) {
        // The module's filter keeps well-formed, set addresses; only the temporary store can be
        // chosen. Duplicates (by full address) are dropped through a hash set, keeping the first.
        std::unordered_set<std::wstring> seen;
        for (const ca::StoreAddress& address : given->items) {
            if (address.IsValid() && !address.IsEmpty() && address.IsTempStore() &&
                seen.insert(address.GetFullAddress()).second) {
                if (chosen.items.size() == CClientContext::kMaxCurrentStores) {
                    Fail(216, ca::kWrongStoreAddress);
                }
                chosen.items.push_back(address);
            }
        }
    }
    if (chosen.items.empty()) {
        Fail(216, ca::kWrongStoreAddress);
    }
    LogEvent(SetVALKOMessage(msg::kNewCurrentStore), false);
    if (packet.callContext == nullptr || packet.callContext->context == nullptr) {
        Fail(233, ca::kExecutionError);
    }
    packet.callContext->context->SetCurrentStores(std::move(chosen));
}

void CSesModule::GetCert(ca::CryptPacket& packet, CancellationToken&) { SetEmptyFileData(packet); }

void CSesModule::SetCert(ca::CryptPacket& packet, CancellationToken&) { RequireFileData(packet, 588); }

void CSesModule::GetCRL(ca::CryptPacket& packet, CancellationToken&) {
    RequireFileData(packet, 597);
    SetEmptyFileData(packet);
}

void CSesModule::GetCertInfo(ca::CryptPacket& packet, CancellationToken&) {
    RequireFileData(packet, 607);
    SetEmptyFileData(packet);
}

void CSesModule::GetRecipientsList(ca::CryptPacket&, CancellationToken&) { Fail(640, 16253); }

void CSesModule::Encrypt(ca::CryptPacket& packet, CancellationToken&) {
    RequireFileData(packet, 652);
    Fail(655, 16131);
}

void CSesModule::SetCert2(ca::CryptPacket& packet, CancellationToken&) {
    LogEvent(ca::GetLineString("CryptoModule", 536).c_str(), false);
    rapidjson::Document document;
    ca::ParseJson(document, reinterpret_cast<const char*>(packet.request.GetFileData()),
                  packet.request.GetFileData() == nullptr ? 0 : packet.request.GetFileDataSize());
    CSesCert record;
    record.FromJson(document);
    if (!record.FitsBounds()) {
        Fail(541, ca::kBadData);
    }
    // Records added by clients live until CM_Free: each client, and all of them together, may add
    // only a bounded number.
    if (packet.callContext == nullptr || packet.callContext->context == nullptr) {
        Fail(545, ca::kExecutionError);
    }
    if (!packet.callContext->context->CountAddedCertificate()) {
        Fail(549, ca::kStoreError);
    }
    auto info = std::make_unique<SesCertInfo2>(record);
    auto answer = std::make_unique<ca::CertInfos2>();
    answer->items.push_back(std::make_unique<ca::CertInfo2>(static_cast<const ca::CertInfo2&>(*info)));
    // Deliberate: a known identifier keeps its first certificate; the call still succeeds.
    if (certificates.Add(std::move(info), true) == CCertificateCollection::AddResult::kFull) {
        Fail(553, ca::kStoreError);
    }
    packet.response.SetObject(std::move(answer), true);
    packet.response.errorCode = ca::kOk;
}

void CSesModule::GetCertInfo2(ca::CryptPacket& packet, CancellationToken&) {
    const std::wstring& id = packet.request.senderCertId;
    LogEvent((L"Идентификатор сертификата = \"" + id + L"\"").c_str(), false);
    const SesCertInfo2* found = certificates.GetCert(id);
    if (found == nullptr) {
        packet.response.needCertId = id;
        LogEvent((GetErrorMessage(ca::kNeedCert, false) + id).c_str(), true);
        throw ca::Exception(ca::kNeedCert);
    }
    // The general description only: the embedded record is not carried over.
    packet.response.SetObject(std::make_unique<ca::CertInfo2>(static_cast<const ca::CertInfo2&>(*found)),
                              false);
}

// Operations without anything to do for a simple signature: they leave the packet as it is.
void CSesModule::CertValidation(ca::CryptPacket&, CancellationToken&) {}
void CSesModule::TranslateCRL2(ca::CryptPacket&, CancellationToken&) {}
void CSesModule::ParseCert(ca::CryptPacket&, CancellationToken&) {}
void CSesModule::CoSign(ca::CryptPacket& packet, CancellationToken& token) { ParseCert(packet, token); }
void CSesModule::ShowSign(ca::CryptPacket& packet, CancellationToken& token) { ParseCert(packet, token); }
