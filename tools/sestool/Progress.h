#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace sestool {

// CProgress draws one self-overwriting line on standard error while a file streams to the module:
// bytes done of the total, the percentage and the rate. It redraws at most ten times a second, and
// draws nothing at all unless shown is true (the caller checks that standard error is a terminal).
class CProgress {
public:
    // kUnknownTotal stands for an input whose size is known only at its end (a pipe).
    static constexpr uint64_t kUnknownTotal = UINT64_MAX;

    CProgress(const char* label, uint64_t total, bool shown);
    ~CProgress();  // ends a line still open, so an error message starts on a line of its own
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    // Update records done bytes and redraws when the last drawing is a tenth of a second old.
    void Update(uint64_t done);
    // Finish draws the last state and ends the line; later calls do nothing.
    void Finish();

private:
    void _Draw();

    std::string _label;
    uint64_t _total;
    bool _shown;
    bool _lineOpen = false;
    uint64_t _done = 0;
    std::chrono::steady_clock::time_point _start;
    std::chrono::steady_clock::time_point _lastDraw;
};

}  // namespace sestool
