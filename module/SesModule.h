#pragma once

#include <cstdint>
#include <string>

#include "base/CancellationToken.h"
#include "base/Log.h"
#include "module/ClientContext.h"
#include "module/CryptoModule.h"
#include "ses/CCertificateCollection.h"
#include "ses/Operations.h"
#include "ses/StreamArray.h"

// CSesModule is the simple-electronic-signature module: one object per CM_Init.
class CSesModule : public ca::CryptoModule {
public:
    // clock is the time source of client contexts and stream ids (replaceable in tests).
    explicit CSesModule(bool inServiceMode, const ca::Clock& clock = ca::RealTimeMs);
    virtual ~CSesModule();

    // Init reads the configuration, binds the host's log callback and loads the local certificates.
    bool Init(LogCallback logCallback);

    void ProcessClientRequest(ca::CryptPacket& packet, bool isLocal) override;

    // CleanUp releases every client context.
    void CleanUp();

    // The operations of the mode table; each answers through the packet.
    void Sign(ca::CryptPacket& packet, CancellationToken& token);
    void Verify(ca::CryptPacket& packet, CancellationToken& token);
    void SetCert(ca::CryptPacket& packet, CancellationToken& token);
    void GetCertInfo(ca::CryptPacket& packet, CancellationToken& token);
    void CertValidation(ca::CryptPacket& packet, CancellationToken& token);
    void GetSignInfo(ca::CryptPacket& packet, CancellationToken& token);
    void GetCertInfo2(ca::CryptPacket& packet, CancellationToken& token);
    void GetCert(ca::CryptPacket& packet, CancellationToken& token);
    void SetCurStore(ca::CryptPacket& packet, CancellationToken& token);
    void EnumStore(ca::CryptPacket& packet, CancellationToken& token);
    void EnumCerts(ca::CryptPacket& packet, CancellationToken& token);
    void GetSignType(ca::CryptPacket& packet, CancellationToken& token);
    void SetCert2(ca::CryptPacket& packet, CancellationToken& token);
    void GetCurStore(ca::CryptPacket& packet, CancellationToken& token);
    void CreateHash(ca::CryptPacket& packet, CancellationToken& token);
    void StreamSign(ca::CryptPacket& packet, CancellationToken& token);
    void StreamVerify(ca::CryptPacket& packet, CancellationToken& token);
    void StreamGetSignInfo(ca::CryptPacket& packet, CancellationToken& token);
    void SignHash(ca::CryptPacket& packet, CancellationToken& token);
    void GetSignInfo2(ca::CryptPacket& packet, CancellationToken& token);
    void ReleaseClient(ca::CryptPacket& packet, CancellationToken& token);
    void StreamHash(ca::CryptPacket& packet, CancellationToken& token);
    void ParseCert(ca::CryptPacket& packet, CancellationToken& token);

    // Operations no mode reaches in this module.
    void SignRaw(ca::CryptPacket& packet, CancellationToken& token);
    void SignHashRaw(ca::CryptPacket& packet, CancellationToken& token);
    void VerifyRaw(ca::CryptPacket& packet, CancellationToken& token);
    void GetCRL(ca::CryptPacket& packet, CancellationToken& token);
    void GetRecipientsList(ca::CryptPacket& packet, CancellationToken& token);
    void Encrypt(ca::CryptPacket& packet, CancellationToken& token);
    void TranslateCRL2(ca::CryptPacket& packet, CancellationToken& token);
    void CoSign(ca::CryptPacket& packet, CancellationToken& token);
    void ShowSign(ca::CryptPacket& packet, CancellationToken& token);

    // LoadLocalCerts fills the collection from the local certificate folder, once, at Init.
    void LoadLocalCerts();

    // Destroyed in reverse order: streams, then contexts, then certificates.
    CCertificateCollection certificates;
    CClientContextArray contexts;
    CStreamArray streams;

private:
    // _Context is the call's client context; 16197 (logged at line) when the call has none.
    CClientContext& _Context(const ca::CryptPacket& packet, long line);

    ses::SEngine _engine{certificates, serviceMode};
};
