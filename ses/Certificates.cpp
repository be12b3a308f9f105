// Store and certificate operations of CSesModule: one store, "MY", holding the local certificates.
#include "ca/ErrorCodes.h"
#include "ca/StringArray.h"
#include "module/ErrorMessageHelper.h"
#include "module/Lng.h"
#include "module/Log.h"
#include "module/SesModule.h"

void CSesModule::EnumStore(ca::CryptPacket& packet, CancellationToken&) {
    LogEvent(SetVALKOMessage(msg::kStoreAddressReceived), false);
    auto stores = std::make_unique<ca::StringArray>(ca::kTypeStores);
    stores->items.emplace_back(L"MY");
    packet.response.SetObject(std::move(stores), false);
}

void CSesModule::EnumCerts(ca::CryptPacket& packet, CancellationToken&) {
    LogEvent(SetVALKOMessage(msg::kStoreAddressReceived2), false);
    auto list = std::make_unique<ca::StringArray>(ca::kTypeCertificates);
    list->items = certificates.Ids();
    packet.response.SetObject(std::move(list), false);
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
    packet.response.SetObject(std::make_unique<ca::CertInfo2>(static_cast<const ca::CertInfo2&>(*found)), false);
}
