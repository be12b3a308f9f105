#pragma once

#include <cstdint>
#include <utility>

#include "base/TimeUtil.h"

namespace ca {

// CIdleSweep is the one timing rule of the registries whose entries expire when idle (client
// contexts, streams): a sweep runs at most once an hour, when the registry is used, and removes the
// entries idle for more than three hours (so an entry may live up to four). Readings are 32-bit
// milliseconds that wrap. The registry calls Due and IsIdle under its own lock.
class CIdleSweep {
public:
    static constexpr uint32_t kSweepInterval = 3600000;  // ms
    static constexpr uint32_t kMaxIdle = 10800000;       // ms

    explicit CIdleSweep(Clock inClock) : clock(std::move(inClock)) {}

    uint32_t Now() const { return clock(); }
    // Due tells whether a sweep is due at now and, if so, counts it as run. The first use sweeps as
    // soon as the clock reads more than an hour, since the last sweep starts at 0.
    bool Due(uint32_t now) {
        if (static_cast<uint32_t>(now - lastSweep) <= kSweepInterval) {
            return false;
        }
        lastSweep = now;
        return true;
    }
    static bool IsIdle(uint32_t now, uint32_t lastUsed) {
        return static_cast<uint32_t>(now - lastUsed) > kMaxIdle;
    }

private:
    Clock clock;
    uint32_t lastSweep = 0;
};

}  // namespace ca
