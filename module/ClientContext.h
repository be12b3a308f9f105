#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/IdleSweep.h"
#include "ca/CryptPacket.h"
#include "ca/StoreAddress.h"
#include "module/CryptoModule.h"

class CSesModule;

// CClientContext is what survives between one client's calls: its current store set and how many
// certificates it added. A client id is whatever the request says, so calls with one id may run at
// once: the state is reached only through members that take the context's own lock.
class CClientContext {
public:
    // kMaxAddedCertificates bounds the records one client may add with SetCert2.
    static constexpr size_t kMaxAddedCertificates = 16;

    CClientContext(std::wstring inClientId, uint32_t now) : clientId(std::move(inClientId)), lastUsed(now) {}

    ca::StoreAddresses CurrentStores() const;
    void SetCurrentStores(ca::StoreAddresses stores);
    // CountAddedCertificate counts one more SetCert2 record; false (nothing counted) at the bound.
    bool CountAddedCertificate();

    const std::wstring clientId;
    std::atomic<uint32_t> lastUsed;

private:
    mutable std::mutex _lock;
    ca::StoreAddresses _currentStores;
    size_t _addedCertificates = 0;
};

// CClientContextArray finds or creates the context of each call. It forgets contexts idle for more
// than three hours (a sweep runs at most once an hour, when some call acquires a context) and, past
// kMaxContexts, the least recently used one. Lookups are by hash, so a call costs the same with a
// million clients as with one.
class CClientContextArray {
public:
    static constexpr uint32_t kSweepInterval = ca::CIdleSweep::kSweepInterval;
    static constexpr uint32_t kMaxIdle = ca::CIdleSweep::kMaxIdle;
    // kMaxContexts bounds the contexts kept; a context in use by a call outlives its eviction.
    static constexpr size_t kMaxContexts = 10000;
    // kMaxClientIdLength bounds a "clientId" (characters); a longer one is a bad request (16300).
    static constexpr size_t kMaxClientIdLength = 256;

    explicit CClientContextArray(CSesModule* inModule, ca::Clock inClock = ca::RealTimeMs)
        : module(inModule), sweep(std::move(inClock)) {}

    // AcquireContext returns the context of clientId (exact match), creating it when missing.
    // Contexts are shared: one removed meanwhile stays valid for the call holding it.
    // Throws Exception(16300) for an id longer than kMaxClientIdLength.
    std::shared_ptr<CClientContext> AcquireContext(const std::wstring& clientId);
    void Remove(const std::wstring& clientId);
    void RemoveOld();
    void CleanUp();
    size_t Count() const;

private:
    using ContextList = std::list<std::shared_ptr<CClientContext>>;

    // _RemoveOld is RemoveOld with the lock held.
    void _RemoveOld(std::vector<std::shared_ptr<CClientContext>>& removed);

    ContextList contexts;  // most recently used first
    std::unordered_map<std::wstring, ContextList::iterator> index;
    mutable std::mutex lock;
    [[maybe_unused]] CSesModule* module;
    ca::CIdleSweep sweep;  // guarded by lock
};

// CCallContext gathers, for one request, the client context and the initialisation-string values.
class CCallContext {
public:
    // Throws Exception(16300) for a FORCE_CERTINCLUDE that is no 32-bit decimal number and for an
    // over-long client id.
    CCallContext(ca::CryptPacket& inPacket, const ca::CryptoModule& module, CClientContextArray& contexts);
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
    void _Build(const ca::CryptoModule& module, CClientContextArray& contexts);
};
