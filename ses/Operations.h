#pragma once

// The engine's operations: each answers one request through the packet. The module's mode table
// reaches them through one-line members of CSesModule.
#include <cstddef>
#include <memory>

#include "ca/CryptPacket.h"
#include "ca/SignInfo.h"
#include "ca/StoreAddress.h"
#include "ses/CCertificateCollection.h"

namespace ses {

// SEngine is what the operations work on: the module's certificate collection and its mode.
struct SEngine {
    CCertificateCollection& certificates;
    bool serviceMode;
};

// kMaxCurrentStores bounds the store set one SetCurStore may choose.
constexpr size_t kMaxCurrentStores = 64;

// Signing: a container over the CRC-64 of the data (Sign), over given hash digits (SignHash), or
// the decimal CRC-64 text alone (CreateHash). 16104 names an unknown signer.
void Sign(SEngine& engine, ca::CryptPacket& packet);
void SignHash(SEngine& engine, ca::CryptPacket& packet);
void SignHashValue(SEngine& engine, ca::CryptPacket& packet, const char* hash, size_t length);
void CreateHash(SEngine& engine, ca::CryptPacket& packet);
void SignRaw(SEngine& engine, ca::CryptPacket& packet);
void SignHashRaw(SEngine& engine, ca::CryptPacket& packet);

// Verification and signature information over the request's container.
std::unique_ptr<ca::SignInfos> ReadSignInfo(SEngine& engine, ca::CryptPacket& packet);
void Verify(SEngine& engine, ca::CryptPacket& packet);
void VerifyRaw(SEngine& engine, ca::CryptPacket& packet);
void GetSignInfo(SEngine& engine, ca::CryptPacket& packet);
void GetSignInfo2(SEngine& engine, ca::CryptPacket& packet);
void GetSignType(SEngine& engine, ca::CryptPacket& packet);

// Stores and certificates.
void EnumStore(SEngine& engine, ca::CryptPacket& packet);
void EnumCerts(SEngine& engine, ca::CryptPacket& packet);
void GetCurStore(SEngine& engine, ca::CryptPacket& packet);
// ChooseCurrentStores gives the store set a SetCurStore request names: valid temporary-store
// addresses without duplicates. Throws 16252 when none is left or more than kMaxCurrentStores.
ca::StoreAddresses ChooseCurrentStores(const ca::CryptPacket& packet);
// ReadClientCertificate reads the SetCert2 record of the request (16300 bad JSON, 16306 a field
// past its bound); AddClientCertificate adds it and answers its description (16102 when full).
std::unique_ptr<SesCertInfo2> ReadClientCertificate(const ca::CryptPacket& packet);
void AddClientCertificate(SEngine& engine, ca::CryptPacket& packet, std::unique_ptr<SesCertInfo2> info);
void GetCertInfo2(SEngine& engine, ca::CryptPacket& packet);
void GetCert(SEngine& engine, ca::CryptPacket& packet);
void SetCert(SEngine& engine, ca::CryptPacket& packet);
void GetCRL(SEngine& engine, ca::CryptPacket& packet);
void GetCertInfo(SEngine& engine, ca::CryptPacket& packet);
void GetRecipientsList(SEngine& engine, ca::CryptPacket& packet);
void Encrypt(SEngine& engine, ca::CryptPacket& packet);
void CertValidation(SEngine& engine, ca::CryptPacket& packet);
void TranslateCRL2(SEngine& engine, ca::CryptPacket& packet);
void ParseCert(SEngine& engine, ca::CryptPacket& packet);
void CoSign(SEngine& engine, ca::CryptPacket& packet);
void ShowSign(SEngine& engine, ca::CryptPacket& packet);

}  // namespace ses
