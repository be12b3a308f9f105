#pragma once

#include <memory>
#include <mutex>

#include "ca/Stream.h"
#include "ses/Hasher.h"

class CSesModule;

// CStreamHash is the hashing stream (type 3): a running CRC-64 and no chunks, so its memory does
// not grow with the data. The final chunk answers the decimal text CreateHash gives for the whole.
class CStreamHash : public ca::CStreamBase {
public:
    CStreamHash(CSesModule* inModule, uint32_t inId) : ca::CStreamBase(inId), module(inModule) {}
    // Throws Exception(16118) when the request has no file data.
    void Stream(ca::CryptPacket& packet, CancellationToken& token) override;

private:
    [[maybe_unused]] CSesModule* module;
    std::mutex lock;
    Crc64Hash hash;
};

// CStreamArray is the module's stream set: simple streams (type 0) and hashing streams (type 3).
// The encoding and decoding types (1, 2) have no stream in this module: GetStream gives null.
class CStreamArray final : public ca::CStreamArray {
public:
    explicit CStreamArray(CSesModule* inModule, ca::Clock inClock = ca::RealTimeMs,
                          uint64_t heldBytesLimit = kMaxHeldBytes)
        : ca::CStreamArray(std::move(inClock), heldBytesLimit), module(inModule) {}
    ~CStreamArray() override = default;

    std::shared_ptr<ca::CStreamBase> GetStream(uint32_t id, ca::StreamType type,
                                               const std::wstring& owner) override;

private:
    [[maybe_unused]] CSesModule* module;
};
