#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "ca/Blob.h"
#include "ca/CryptPacket.h"
#include "config/TimeUtil.h"
#include "module/CancellationToken.h"

namespace ca {

enum class StreamType : uint32_t { kSimple = 0, kEncode = 1, kDecode = 2, kHash = 3 };

// CStreamBase is one open stream of chunks, known by its id.
class CStreamBase {
public:
    explicit CStreamBase(uint32_t inId) : id(inId) {}
    virtual ~CStreamBase() = default;
    // Stream takes one chunk: the request's file data.
    virtual void Stream(CryptPacket& packet, CancellationToken& token) = 0;

    const uint32_t id;
    std::atomic<uint32_t> lastUsed{0};  // clock reading of the last chunk, for the idle sweep
};

// CSimpleStream collects chunks and, on the final one, hands the whole payload to the request.
// Chunks are appended to one growing block as they arrive, so the payload is never held twice.
class CSimpleStream : public CStreamBase {
public:
    explicit CSimpleStream(uint32_t inId) : CStreamBase(inId) {}
    // Throws Exception(16118) when the request has no file data; earlier chunks are kept.
    void Stream(CryptPacket& packet, CancellationToken& token) override;

private:
    std::mutex lock;
    MallocPtr assembled;
    size_t size = 0;
};

// CStreamArray is the set of open streams of a module. Streams are shared so that one closed by
// another call stays alive until the call using it returns. A stream whose final chunk never comes
// is dropped once idle for more than three hours (checked at most once an hour, when a stream is
// looked up), so abandoned uploads cannot hold memory for ever.
class CStreamArray {
public:
    static constexpr uint32_t kSweepInterval = 3600000;  // ms
    static constexpr uint32_t kMaxIdle = 10800000;       // ms

    explicit CStreamArray(Clock inClock = RealTimeMs) : clock(std::move(inClock)) {}
    CStreamArray(const CStreamArray&) = delete;
    CStreamArray& operator=(const CStreamArray&) = delete;

    // GetStream finds the stream with id (0: none) or creates one of type; null when it cannot.
    virtual std::shared_ptr<CStreamBase> GetStream(uint32_t id, StreamType type) = 0;
    // Stream routes one chunk: the stream's id goes to the response, a final chunk closes it.
    // Throws Exception(16197) when no stream can be had.
    void Stream(CryptPacket& packet, StreamType type, CancellationToken& token);
    void RemoveStream(uint32_t id);
    size_t Count() const;

protected:
    virtual ~CStreamArray() = default;
    // _FindOrAdd implements GetStream over a factory for new streams of the requested type.
    std::shared_ptr<CStreamBase> _FindOrAdd(uint32_t id,
                                            const std::function<std::shared_ptr<CStreamBase>(uint32_t)>& make);

private:
    mutable std::mutex lock;
    std::vector<std::shared_ptr<CStreamBase>> streams;
    Clock clock;
    uint32_t lastSweep = 0;  // guarded by lock
};

}  // namespace ca
