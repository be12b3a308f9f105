#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ca/CryptPacket.h"
#include "ca/StoreAddress.h"
#include "config/TimeUtil.h"

class CSesModule;

// CClientContext is what survives between one client's calls: above all its current store set.
class CClientContext {
public:
    CClientContext(std::wstring inClientId, uint32_t now) : clientId(std::move(inClientId)), lastUsed(now) {}

    const std::wstring clientId;
    ca::StoreAddresses currentStores;  // used by the client's own calls, which the host serialises
    std::atomic<uint32_t> lastUsed;
};

// CClientContextArray finds or creates the context of each call and forgets contexts idle for more
// than three hours (a sweep runs at most once an hour, when some call acquires a context).
class CClientContextArray {
public:
    static constexpr uint32_t kSweepInterval = 3600000;  // ms
    static constexpr uint32_t kMaxIdle = 10800000;       // ms

    explicit CClientContextArray(CSesModule* inModule, ca::Clock inClock = ca::RealTimeMs)
        : module(inModule), clock(std::move(inClock)) {}

    // AcquireContext returns the context of clientId (exact match), creating it when missing.
    // Contexts are shared: one removed meanwhile stays valid for the call holding it.
    std::shared_ptr<CClientContext> AcquireContext(const std::wstring& clientId);
    void Remove(const std::wstring& clientId);
    void RemoveOld();
    void CleanUp();
    size_t Count() const;

private:
    std::atomic<uint32_t> lastCleanup{0};
    std::vector<std::shared_ptr<CClientContext>> contexts;
    mutable std::mutex lock;
    [[maybe_unused]] CSesModule* module;
    ca::Clock clock;
};

// CCallContext gathers, for one request, the client context and the initialisation-string values.
class CCallContext {
public:
    // Throws std::invalid_argument / std::out_of_range ("stoi") for a FORCE_CERTINCLUDE that is no
    // 32-bit number; the request frame answers that with 16197.
    CCallContext(ca::CryptPacket& inPacket, CSesModule* module);
    ~CCallContext();
    CCallContext(const CCallContext&) = delete;
    CCallContext& operator=(const CCallContext&) = delete;

    ca::CryptPacket& packet;
    std::wstring initString;
    std::shared_ptr<CClientContext> context;
    std::wstring descriptionFormat;
    std::wstring certFilter;
    int32_t forceCertInclude = 0;

private:
    void _Build(CSesModule* module);
};
