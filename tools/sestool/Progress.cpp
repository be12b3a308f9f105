#include "tools/sestool/Progress.h"

#include <cstdio>

namespace sestool {

namespace {

constexpr auto kRedrawInterval = std::chrono::milliseconds(100);
constexpr int kBarWidth = 24;
constexpr double kMiB = 1024.0 * 1024.0;

}  // namespace

CProgress::CProgress(const char* label, uint64_t total, bool shown)
    : _label(label),
      _total(total),
      _shown(shown),
      _start(std::chrono::steady_clock::now()),
      _lastDraw(_start) {}

CProgress::~CProgress() {
    if (_lineOpen) {
        std::fputc('\n', stderr);
    }
}

void CProgress::Update(uint64_t done) {
    _done = done;
    const auto now = std::chrono::steady_clock::now();
    if (_shown && (!_lineOpen || now - _lastDraw >= kRedrawInterval)) {
        _lastDraw = now;
        _Draw();
    }
}

void CProgress::Finish() {
    if (!_shown) {
        return;
    }
    _Draw();
    std::fputc('\n', stderr);
    std::fflush(stderr);
    _lineOpen = false;
    _shown = false;
}

void CProgress::_Draw() {
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
    const double rate = seconds > 0 ? static_cast<double>(_done) / seconds / 1e6 : 0.0;
    // "\r" returns to the line's start and "\033[K" clears what a longer earlier drawing left.
    if (_total == kUnknownTotal) {
        std::fprintf(stderr, "\r%s  %.1f MiB  %.1f MB/s\033[K", _label.c_str(),
                     static_cast<double>(_done) / kMiB, rate);
    } else {
        // A file that grows while it is read must not push the bar past its end.
        const double part =
            _total == 0 || _done >= _total ? 1.0 : static_cast<double>(_done) / static_cast<double>(_total);
        const int filled = static_cast<int>(part * kBarWidth);
        char bar[kBarWidth + 1];
        for (int i = 0; i < kBarWidth; ++i) {
            bar[i] = i < filled ? '#' : '.';
        }
        bar[kBarWidth] = '\0';
        std::fprintf(stderr, "\r%s [%s] %.1f / %.1f MiB  %3d%%  %.1f MB/s\033[K", _label.c_str(), bar,
                     static_cast<double>(_done) / kMiB, static_cast<double>(_total) / kMiB,
                     static_cast<int>(part * 100), rate);
    }
    std::fflush(stderr);
    _lineOpen = true;
}

}  // namespace sestool
