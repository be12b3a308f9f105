#include "tests/support/TestSupport.h"

#include <stdlib.h>

#include <filesystem>

#include "base/Encode.h"
#include <mutex>
#include <stdexcept>

namespace {

std::mutex gLogMutex;
std::vector<SLogLine> gLines;

}  // namespace

CTempHome::CTempHome() {
    char pattern[] = "/tmp/ses-home-XXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    _path = pattern;
    if (const char* home = getenv("HOME"); home != nullptr) {
        _oldHome = home;
        _hadHome = true;
    }
    setenv("HOME", _path.c_str(), 1);
}

CTempHome::~CTempHome() {
    if (_hadHome) {
        setenv("HOME", _oldHome.c_str(), 1);
    } else {
        unsetenv("HOME");
    }
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
}

bool CLogCapture::CaptureLogLine(const wchar_t* text, bool isError) {
    std::lock_guard<std::mutex> lock(gLogMutex);
    gLines.push_back({text == nullptr ? L"" : text, isError});
    return true;
}

std::vector<SLogLine> CLogCapture::Take() {
    std::lock_guard<std::mutex> lock(gLogMutex);
    std::vector<SLogLine> lines;
    lines.swap(gLines);
    return lines;
}

void CLogCapture::Clear() { Take(); }

std::string ToHex(const std::vector<uint8_t>& bytes) {
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t b : bytes) {
        text.push_back(kDigits[b >> 4]);
        text.push_back(kDigits[b & 15]);
    }
    return text;
}

std::vector<uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

void PrintTo(const SLogLine& line, std::ostream* out) {
    *out << (line.isError ? "error: " : "") << ca::u16u8(line.text);
}

std::string B64(const std::string& bytes) {
    return ca::Base64Encode(reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
}
