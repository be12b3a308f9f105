#include "ca/RecordFactory.h"

#include <atomic>
#include <iterator>

#include "ca/CertInfo2.h"
#include "ca/CrlInfo.h"
#include "ca/SignInfo.h"
#include "ca/StoreAddress.h"
#include "ca/StringArray.h"
#include "ca/VerificationResult.h"

namespace ca {

namespace {

template <typename T>
std::unique_ptr<ISerializable> Make() {
    return std::make_unique<T>();
}

template <int type>
std::unique_ptr<ISerializable> MakeList() {
    return std::make_unique<StringArray>(type);
}

// Records this module can read from an envelope; a null factory means the key is not read.
constexpr RecordFactory kFactories[std::size(stags)] = {
    &Make<FileData>,
    &MakeList<kTypeStores>,        // 1
    &MakeList<kTypeCertificates>,  // 2
    &MakeList<kTypeCrl>,           // 3
    &Make<SignInfos>,              // 4
    &Make<SignInfosArray>,         // 5
    &Make<CertInfo2>,              // 6
    &Make<CertInfos2>,             // 7
    &Make<StoreAddress>,           // 8
    &Make<StoreAddresses>,         // 9
    &Make<CrlInfo>,                // 10
    nullptr,                       // 11 config: from the layer above
    nullptr,                       // 12 PKIConfig: from the layer above
    &Make<VerificationResult>,     // 13
    nullptr,                       // 14 CMSInfo: no record in this module
    &Make<CertForCheck>,           // 15
    nullptr,                       // 16 CertManChainStatus: no record in this module
    &Make<AttrCertInfo>,           // 17
};

}  // namespace

namespace {

std::atomic<const SEnvelopeHooks*> gHooks{nullptr};

}  // namespace

void InstallEnvelopeHooks(const SEnvelopeHooks* hooks) { gHooks.store(hooks); }

const SEnvelopeHooks& EnvelopeHooks() {
    static const SEnvelopeHooks none;
    const SEnvelopeHooks* hooks = gHooks.load();
    return hooks == nullptr ? none : *hooks;
}

std::unique_ptr<ISerializable> CreateRecord(int type) {
    if (type < 0 || static_cast<size_t>(type) >= std::size(kFactories)) {
        return nullptr;
    }
    const RecordFactory factory =
        kFactories[type] != nullptr ? kFactories[type] : EnvelopeHooks().upperRecords[type];
    return factory == nullptr ? nullptr : factory();
}

}  // namespace ca
