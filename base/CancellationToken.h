#pragma once

#include <atomic>

// CancellationToken lives for one call; an operation polls it, a host-side canceller sets it.
class CancellationToken {
public:
    void Cancel() { cancelled.store(true, std::memory_order_seq_cst); }
    bool IsCancelled() const { return cancelled.load(std::memory_order_seq_cst); }

private:
    std::atomic<bool> cancelled{false};
};
