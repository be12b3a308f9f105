// The members the mode table calls: each hands the request to the engine's operation of the same
// name; the client-context state (current stores, added certificates) is kept here.
#include "ses/Operations.h"

#include "base/ErrorCodes.h"
#include "base/Log.h"
#include "module/SesModule.h"

void CSesModule::Sign(ca::CryptPacket& packet, CancellationToken&) { ses::Sign(_engine, packet); }
void CSesModule::Verify(ca::CryptPacket& packet, CancellationToken&) { ses::Verify(_engine, packet); }
void CSesModule::SetCert(ca::CryptPacket& packet, CancellationToken&) { ses::SetCert(_engine, packet); }
void CSesModule::GetCertInfo(ca::CryptPacket& packet, CancellationToken&) {
    ses::GetCertInfo(_engine, packet);
}
void CSesModule::CertValidation(ca::CryptPacket& packet, CancellationToken&) {
    ses::CertValidation(_engine, packet);
}
void CSesModule::GetSignInfo(ca::CryptPacket& packet, CancellationToken&) {
    ses::GetSignInfo(_engine, packet);
}
void CSesModule::GetCertInfo2(ca::CryptPacket& packet, CancellationToken&) {
    ses::GetCertInfo2(_engine, packet);
}
void CSesModule::GetCert(ca::CryptPacket& packet, CancellationToken&) { ses::GetCert(_engine, packet); }
void CSesModule::EnumStore(ca::CryptPacket& packet, CancellationToken&) { ses::EnumStore(_engine, packet); }
void CSesModule::EnumCerts(ca::CryptPacket& packet, CancellationToken&) { ses::EnumCerts(_engine, packet); }
void CSesModule::GetSignType(ca::CryptPacket& packet, CancellationToken&) {
    ses::GetSignType(_engine, packet);
}
void CSesModule::GetCurStore(ca::CryptPacket& packet, CancellationToken&) {
    ses::GetCurStore(_engine, packet);
}
void CSesModule::CreateHash(ca::CryptPacket& packet, CancellationToken&) { ses::CreateHash(_engine, packet); }
void CSesModule::SignHash(ca::CryptPacket& packet, CancellationToken&) { ses::SignHash(_engine, packet); }
void CSesModule::GetSignInfo2(ca::CryptPacket& packet, CancellationToken&) {
    ses::GetSignInfo2(_engine, packet);
}
void CSesModule::ParseCert(ca::CryptPacket& packet, CancellationToken&) { ses::ParseCert(_engine, packet); }
void CSesModule::SignRaw(ca::CryptPacket& packet, CancellationToken&) { ses::SignRaw(_engine, packet); }
void CSesModule::SignHashRaw(ca::CryptPacket& packet, CancellationToken&) {
    ses::SignHashRaw(_engine, packet);
}
void CSesModule::VerifyRaw(ca::CryptPacket& packet, CancellationToken&) { ses::VerifyRaw(_engine, packet); }
void CSesModule::GetCRL(ca::CryptPacket& packet, CancellationToken&) { ses::GetCRL(_engine, packet); }
void CSesModule::GetRecipientsList(ca::CryptPacket& packet, CancellationToken&) {
    ses::GetRecipientsList(_engine, packet);
}
void CSesModule::Encrypt(ca::CryptPacket& packet, CancellationToken&) { ses::Encrypt(_engine, packet); }
void CSesModule::TranslateCRL2(ca::CryptPacket& packet, CancellationToken&) {
    ses::TranslateCRL2(_engine, packet);
}
void CSesModule::CoSign(ca::CryptPacket& packet, CancellationToken&) { ses::CoSign(_engine, packet); }
void CSesModule::ShowSign(ca::CryptPacket& packet, CancellationToken&) { ses::ShowSign(_engine, packet); }

CClientContext& CSesModule::_Context(const ca::CryptPacket& packet, long line) {
    if (packet.callContext == nullptr || packet.callContext->context == nullptr) {
        ca::RaiseAt({"CryptoModule", line}, ca::kExecutionError);
    }
    return *packet.callContext->context;
}

void CSesModule::SetCurStore(ca::CryptPacket& packet, CancellationToken&) {
    ca::StoreAddresses chosen = ses::ChooseCurrentStores(packet);
    _Context(packet, 233).SetCurrentStores(std::move(chosen));
}

void CSesModule::SetCert2(ca::CryptPacket& packet, CancellationToken&) {
    std::unique_ptr<SesCertInfo2> info = ses::ReadClientCertificate(packet);
    // Records added by clients live until CM_Free: each client, and all together, add a bounded number.
    if (!_Context(packet, 545).CountAddedCertificate()) {
        ca::RaiseAt({"CryptoModule", 549}, ca::kStoreError);
    }
    ses::AddClientCertificate(_engine, packet, std::move(info));
}

void CSesModule::LoadLocalCerts() { LoadCertificateFolder(CertificateFolder(), certificates); }
