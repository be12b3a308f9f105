// Store and certificate operations: one store, "MY", holding the local certificates,
// and a per-client current-store list that can only name the temporary store.
#include <unordered_set>

#include "base/ErrorCodes.h"
#include "base/ErrorMessageHelper.h"
#include "base/Lng.h"
#include "base/Log.h"
#include "ca/CertInfo2.h"
#include "ca/StoreAddress.h"
#include "ca/StringArray.h"
#include "ses/Operations.h"

namespace {

// RequestStore validates the request's store address and gives the store it names; a request
// without one, or with an empty one, names the default "MY" store.
ca::StoreAddress RequestStore(const ca::CryptPacket& packet, bool rejectRemote, long line,
                              ValkoMessage received, bool machine) {
    const auto* given = static_cast<const ca::StoreAddress*>(packet.request.GetObject(ca::kTypeStoreAddress));
    if (given != nullptr && (!given->IsValid() || (rejectRemote && given->IsRemote()))) {
        ca::RaiseAt({"CryptoModule", line}, ca::kWrongStoreAddress);
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
        ca::RaiseAt({"CryptoModule", line}, ca::kNoDataInArgs);
    }
}

}  // namespace

namespace ses {

void EnumStore(SEngine& engine, ca::CryptPacket& packet) {
    RequestStore(packet, true, 262, msg::kStoreAddressReceived, engine.serviceMode);
    auto stores = std::make_unique<ca::StringArray>(ca::kTypeStores);
    stores->items.emplace_back(L"MY");
    packet.response.SetObject(std::move(stores), false);
}

void EnumCerts(SEngine& engine, ca::CryptPacket& packet) {
    RequestStore(packet, false, 283, msg::kStoreAddressReceived2, engine.serviceMode);
    auto list = std::make_unique<ca::StringArray>(ca::kTypeCertificates);
    list->items = engine.certificates.Ids();
    packet.response.SetObject(std::move(list), false);
}

void GetCurStore(SEngine&, ca::CryptPacket& packet) {
    auto list = std::make_unique<ca::StoreAddresses>();
    list->items.emplace_back(L"", L"", L"VALKOTempStore");
    packet.response.SetObject(std::move(list), false);
}

ca::StoreAddresses ChooseCurrentStores(const ca::CryptPacket& packet) {
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
                if (chosen.items.size() == kMaxCurrentStores) {
                    ca::RaiseAt({"CryptoModule", 216}, ca::kWrongStoreAddress);
                }
                chosen.items.push_back(address);
            }
        }
    }
    if (chosen.items.empty()) {
        ca::RaiseAt({"CryptoModule", 216}, ca::kWrongStoreAddress);
    }
    LogEvent(SetVALKOMessage(msg::kNewCurrentStore), false);
    return chosen;
}

void GetCert(SEngine&, ca::CryptPacket& packet) { SetEmptyFileData(packet); }

void SetCert(SEngine&, ca::CryptPacket& packet) { RequireFileData(packet, 588); }

void GetCRL(SEngine&, ca::CryptPacket& packet) {
    RequireFileData(packet, 597);
    SetEmptyFileData(packet);
}

void GetCertInfo(SEngine&, ca::CryptPacket& packet) {
    RequireFileData(packet, 607);
    SetEmptyFileData(packet);
}

void GetRecipientsList(SEngine&, ca::CryptPacket&) { ca::RaiseAt({"CryptoModule", 640}, 16253); }

void Encrypt(SEngine&, ca::CryptPacket& packet) {
    RequireFileData(packet, 652);
    ca::RaiseAt({"CryptoModule", 655}, 16131);
}

std::unique_ptr<SesCertInfo2> ReadClientCertificate(const ca::CryptPacket& packet) {
    LogEvent(ca::GetLineString("CryptoModule", 536).c_str(), false);
    rapidjson::Document document;
    ca::ParseJson(document, reinterpret_cast<const char*>(packet.request.GetFileData()),
                  packet.request.GetFileData() == nullptr ? 0 : packet.request.GetFileDataSize());
    CSesCert record;
    record.FromJson(document);
    if (!record.FitsBounds()) {
        ca::RaiseAt({"CryptoModule", 541}, ca::kBadData);
    }
    return std::make_unique<SesCertInfo2>(record);
}

void AddClientCertificate(SEngine& engine, ca::CryptPacket& packet, std::unique_ptr<SesCertInfo2> info) {
    auto answer = std::make_unique<ca::CertInfos2>();
    answer->items.push_back(std::make_unique<ca::CertInfo2>(static_cast<const ca::CertInfo2&>(*info)));
    // Deliberate: a known identifier keeps its first certificate; the call still succeeds.
    if (engine.certificates.Add(std::move(info), true) == CCertificateCollection::AddResult::kFull) {
        ca::RaiseAt({"CryptoModule", 553}, ca::kStoreError);
    }
    packet.response.SetObject(std::move(answer), true);
    packet.response.errorCode = ca::kOk;
}

void GetCertInfo2(SEngine& engine, ca::CryptPacket& packet) {
    const std::wstring& id = packet.request.senderCertId;
    LogEvent((L"Идентификатор сертификата = \"" + id + L"\"").c_str(), false);
    const SesCertInfo2* found = engine.certificates.GetCert(id);
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
void CertValidation(SEngine&, ca::CryptPacket&) {}
void TranslateCRL2(SEngine&, ca::CryptPacket&) {}
void ParseCert(SEngine&, ca::CryptPacket&) {}
void CoSign(SEngine& engine, ca::CryptPacket& packet) { ParseCert(engine, packet); }
void ShowSign(SEngine& engine, ca::CryptPacket& packet) { ParseCert(engine, packet); }

}  // namespace ses
