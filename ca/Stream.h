#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "base/Blob.h"
#include "base/CancellationToken.h"
#include "base/IdleSweep.h"
#include "ca/CryptPacket.h"

namespace ca {

enum class StreamType : uint32_t { kSimple = 0, kEncode = 1, kDecode = 2, kHash = 3 };

// CStreamBudget counts the payload bytes that all streams of a module hold, against one bound.
class CStreamBudget {
public:
    explicit CStreamBudget(uint64_t inLimit) : limit(inLimit) {}
    // Take reserves n bytes; false (nothing reserved) when that would pass the limit.
    [[nodiscard]] bool Take(uint64_t n);
    void Give(uint64_t n) { held.fetch_sub(n); }
    uint64_t Held() const { return held.load(); }

    const uint64_t limit;

private:
    std::atomic<uint64_t> held{0};
};

// CStreamBase is one open stream of chunks, known by its id and owned by the client that opened it.
class CStreamBase {
public:
    explicit CStreamBase(uint32_t inId) : id(inId) {}
    virtual ~CStreamBase() = default;
    // Stream takes one chunk: the request's file data.
    virtual void Stream(CryptPacket& packet, CancellationToken& token) = 0;

    const uint32_t id;
    std::wstring owner;                 // the opening call's client id; set before the stream is shared
    std::atomic<uint32_t> lastUsed{0};  // clock reading of the last chunk, for the idle sweep
};

// CSimpleStream collects chunks and, on the final one, hands the whole payload to the request.
// Chunks are appended to one growing block as they arrive, so the payload is never held twice.
// The bytes held count against the module's budget until the payload leaves or the stream ends.
class CSimpleStream : public CStreamBase {
public:
    CSimpleStream(uint32_t inId, std::shared_ptr<CStreamBudget> inBudget)
        : CStreamBase(inId), budget(std::move(inBudget)) {}
    ~CSimpleStream() override;
    // Throws Exception(16118) when the request has no file data, Exception(16306) when the payload
    // would pass 4 GiB or the budget; earlier chunks are kept.
    void Stream(CryptPacket& packet, CancellationToken& token) override;

private:
    std::mutex lock;
    std::shared_ptr<CStreamBudget> budget;
    MallocPtr assembled;
    size_t size = 0;
};

// CStreamArray is the set of open streams of a module, by id. Streams are shared so that one
// closed by another call stays alive until the call using it returns. A stream whose final chunk
// never comes is dropped once idle for more than three hours (checked at most once an hour, when a
// stream is looked up), so abandoned uploads cannot hold memory for ever.
//
// Ids are random 31-bit numbers, so one client cannot guess another's stream; a chunk for a stream
// opened by another client id is refused with 16268, as is a client's stream past
// kMaxStreamsPerClient. An unknown id opens a new stream, whose id the answer carries.
class CStreamArray {
public:
    static constexpr uint32_t kSweepInterval = CIdleSweep::kSweepInterval;
    static constexpr uint32_t kMaxIdle = CIdleSweep::kMaxIdle;
    // kMaxStreamsPerClient bounds the streams one client id keeps open at once.
    static constexpr size_t kMaxStreamsPerClient = 8;
    // kMaxHeldBytes bounds the payload bytes all open streams hold together.
    static constexpr uint64_t kMaxHeldBytes = uint64_t{2} << 30;

    explicit CStreamArray(Clock inClock = RealTimeMs, uint64_t heldBytesLimit = kMaxHeldBytes)
        : budget(std::make_shared<CStreamBudget>(heldBytesLimit)), sweep(std::move(inClock)) {}
    CStreamArray(const CStreamArray&) = delete;
    CStreamArray& operator=(const CStreamArray&) = delete;

    // GetStream finds owner's stream with id (0: none) or creates one of type; null when the type
    // has no stream. Throws Exception(16268) as described above.
    virtual std::shared_ptr<CStreamBase> GetStream(uint32_t id, StreamType type,
                                                   const std::wstring& owner) = 0;
    // Stream routes one chunk: the stream's id goes to the response, a final chunk closes it (also
    // when taking the chunk fails). Throws Exception(16197) when no stream can be had.
    void Stream(CryptPacket& packet, StreamType type, CancellationToken& token);
    void RemoveStream(uint32_t id);
    size_t Count() const;
    uint64_t HeldBytes() const { return budget->Held(); }

protected:
    virtual ~CStreamArray() = default;
    // _FindOrAdd implements GetStream over a factory for new streams of the requested type.
    std::shared_ptr<CStreamBase> _FindOrAdd(
        uint32_t id, const std::wstring& owner,
        const std::function<std::shared_ptr<CStreamBase>(uint32_t)>& make);

    const std::shared_ptr<CStreamBudget> budget;

private:
    // _Erase removes the stream at it (lock held) and gives it to the caller to destroy unlocked.
    std::shared_ptr<CStreamBase> _Erase(
        std::unordered_map<uint32_t, std::shared_ptr<CStreamBase>>::iterator it);

    mutable std::mutex lock;
    std::unordered_map<uint32_t, std::shared_ptr<CStreamBase>> streams;
    std::unordered_map<std::wstring, size_t> openByClient;
    CIdleSweep sweep;  // guarded by lock
};

}  // namespace ca
