#pragma once

#include <string>

#include "ca/CryptPacket.h"
#include "config/ConfigFileParser.h"

struct CMPacket;

namespace ca {

// CryptoModule is the base of every module of the family: the service mode, the configuration and
// the request frame that turns a host packet into one answer buffer.
class CryptoModule {
public:
    explicit CryptoModule(bool inServiceMode) : serviceMode(inServiceMode) {}
    CryptoModule(const CryptoModule&) = delete;
    CryptoModule& operator=(const CryptoModule&) = delete;

    // ProcessClientRequest runs the request's method and reports through the packet's response.
    virtual void ProcessClientRequest(CryptPacket& packet, bool isLocal) = 0;

    // ProcessJson answers one host packet: a malloc'ed JSON + NUL (+ raw data) buffer in
    // packet.response. Every exception becomes an error code; nothing escapes.
    void ProcessJson(CMPacket& packet) noexcept;

    // ReadConfig reads the service configuration; always true, a problem becomes a warning that
    // ShowConfigWarning delivers once logging is bound.
    bool ReadConfig();

    bool serviceMode;
    ConfigFileParser config;

protected:
    ~CryptoModule() = default;

    // ShowConfigWarning shows (or logs) the warning ReadConfig held back, once.
    void ShowConfigWarning();

private:
    void _RunRequest(const CMPacket& host, CryptPacket& packet);
    std::wstring _configWarning;
};

}  // namespace ca
