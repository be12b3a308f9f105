#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>

#include "base/Binding.h"
#include "ca/CryptPacket.h"
#include "config/ConfigFileParser.h"

struct CMPacket;

namespace ca {

// CryptoModule is the base of every module of the family: the service mode, the configuration and
// the request frame that turns a host packet into one answer buffer.
class CryptoModule {
public:
    explicit CryptoModule(bool inServiceMode);
    CryptoModule(const CryptoModule&) = delete;
    CryptoModule& operator=(const CryptoModule&) = delete;

    // ProcessClientRequest runs the request's method and reports through the packet's response.
    virtual void ProcessClientRequest(CryptPacket& packet, bool isLocal) = 0;

    // ProcessJson answers one host packet: a malloc'ed JSON + NUL (+ raw data) buffer in
    // packet.response. Every exception becomes an error code; nothing escapes. It runs with this
    // module's binding and counts as a call in flight until it returns.
    void ProcessJson(CMPacket& packet) noexcept;

    // WaitForCalls blocks until no ProcessJson of this module is running. The destructor calls it,
    // so CM_Free returns only after the calls in flight; calls started after CM_Free are the host's
    // error (the object is gone).
    void WaitForCalls();

    // ReadConfig reads the service configuration; always true, a problem becomes a warning that
    // ShowConfigWarning delivers once logging is bound.
    bool ReadConfig();

    bool serviceMode;
    ConfigFileParser config;
    SBinding binding;  // this instance's log callback, language and error texts

protected:
    ~CryptoModule() = default;

    // ShowConfigWarning shows (or logs) the warning ReadConfig held back, once.
    void ShowConfigWarning();

private:
    void _RunRequest(const CMPacket& host, CryptPacket& packet);
    std::wstring _configWarning;
    std::mutex _callsLock;
    std::condition_variable _callsDone;
    size_t _callsInFlight = 0;  // guarded by _callsLock
};

}  // namespace ca
