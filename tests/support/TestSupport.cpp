#include "tests/support/TestSupport.h"

#include <stdlib.h>

#include <filesystem>
#include <mutex>
#include <stdexcept>

#include "base/Encode.h"
#include "base/Exception.h"
#include "base/FileUtil.h"
#include "base/Lng.h"

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

void CTempHome::WriteConfig(const std::string& text) const {
    ASSERT_TRUE(ca::TryCreateDir(_path + "/.config/OruCryptoSvc"));
    ASSERT_TRUE(ca::StringToFile(ConfigPath(), text));
}

bool CLogScope::Capture(const wchar_t* text, bool isError) {
    std::lock_guard<std::mutex> lock(gLogMutex);
    gLines.push_back({text == nullptr ? L"" : text, isError});
    return true;
}

std::vector<SLogLine> CLogScope::Take() {
    std::lock_guard<std::mutex> lock(gLogMutex);
    std::vector<SLogLine> lines;
    lines.swap(gLines);
    return lines;
}

CLogScope::CLogScope(SBinding& binding) : _binding(binding) {
    Clear();
    _previous = _binding.callback.exchange(&Capture);
}

CLogScope::~CLogScope() { _binding.callback.store(_previous); }

CLanguageScope::CLanguageScope(const wchar_t* name) : _previous(GetVALKOLng()) {
    if (name != nullptr) {
        SetVALKOLng(name);
    }
}

// The stored value is put back as it was, 0 ("nothing selected yet") included.
CLanguageScope::~CLanguageScope() { CurrentBinding().language.store(_previous); }

uint32_t CodeOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const ca::Exception& e) {
        return e.code;
    }
    return 0;
}

std::vector<uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

void PrintTo(const SLogLine& line, std::ostream* out) {
    *out << (line.isError ? "error: " : "") << ca::u16u8(line.text);
}

std::string B64(const std::string& bytes) {
    return ca::Base64Encode(reinterpret_cast<const uint8_t*>(bytes.data()),
                            static_cast<uint32_t>(bytes.size()));
}

std::string CompactJson(const std::string& text) {
    rapidjson::Document document;
    ca::ParseJson(document, text.data(), text.size());
    return Json(document);
}

std::string Masked(std::string container) {
    for (const std::string tag : {"SignId", "SignTimeUTC"}) {
        const size_t start = container.find("<" + tag + ">");
        const size_t end = container.find("</" + tag + ">", start);
        if (start != std::string::npos && end != std::string::npos) {
            container.replace(start + tag.size() + 2, end - start - tag.size() - 2, "*");
        }
    }
    return container;
}
