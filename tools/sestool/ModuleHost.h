#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mod_ses.h"

namespace sestool {

// SModuleAnswer is one response split at its framing: the JSON text and, when the module sent any,
// the raw bytes behind the JSON's NUL.
struct SModuleAnswer {
    std::string json;
    bool hasData = false;
    std::vector<uint8_t> data;
};

// SplitResponse reads a response buffer as the module frames it: responseSize counts the JSON, the
// NUL and the data when data follows, and only the JSON otherwise (the NUL is still there).
SModuleAnswer SplitResponse(const char* response, uint64_t responseSize);

// CModuleHost loads a module library with dlopen and drives it only through its three C functions,
// as a host service does. It owns the library handle and the module object.
class CModuleHost {
public:
    CModuleHost() = default;
    ~CModuleHost();
    CModuleHost(const CModuleHost&) = delete;
    CModuleHost& operator=(const CModuleHost&) = delete;

    // Load opens the library at path and looks up CM_Init, CM_ProcessClientRequest and CM_Free.
    // Returns false with the loader's message.
    bool Load(const std::string& path, std::string& error);

    // Init creates the module object with CM_Init. Returns false when the module declines.
    bool Init(bool serviceMode, CMLogCallback callback, std::string& error);

    // Process sends one request buffer and fills answer. Returns false when the module gave no response.
    bool Process(const std::vector<char>& request, bool isLocal, SModuleAnswer& answer, std::string& error);

    // DefaultModulePath is the module installed with the running executable (<bin>/<the install's
    // library folder>/libmod_ses.so.1), or else the built one beside it: <bin>/../lib/libmod_ses.so.1.
    static std::string DefaultModulePath();

private:
    void* _library = nullptr;
    void* _module = nullptr;
    void* (*_init)(bool, CMLogCallback) = nullptr;
    void (*_process)(void*, CMPacket*) = nullptr;
    void (*_free)(void*) = nullptr;
};

// WideToUtf8 encodes a module log line (UTF-32 in wchar_t) as UTF-8; values that are no Unicode
// scalar value become U+FFFD. Done by hand so that the output never depends on the locale.
std::string WideToUtf8(const wchar_t* text);

}  // namespace sestool
