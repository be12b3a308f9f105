#include "tools/sestool/ModuleHost.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#ifndef SES_LIBDIR_FROM_BINDIR
#define SES_LIBDIR_FROM_BINDIR "../lib"
#endif

namespace sestool {

namespace {

struct FreeDeleter {
    void operator()(char* p) const noexcept { std::free(p); }
};

void AppendUtf8(std::string& out, uint32_t cp) {
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        cp = 0xFFFD;
    }
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

template <typename T>
bool LookUp(void* library, const char* name, T& out, std::string& error) {
    dlerror();
    void* symbol = dlsym(library, name);
    if (symbol == nullptr) {
        const char* why = dlerror();
        error =
            std::string("symbol ") + name + " not found" + (why != nullptr ? std::string(": ") + why : "");
        return false;
    }
    out = reinterpret_cast<T>(symbol);
    return true;
}

}  // namespace

std::string WideToUtf8(const wchar_t* text) {
    std::string out;
    if (text == nullptr) {
        return out;
    }
    for (; *text != L'\0'; ++text) {
        AppendUtf8(out, static_cast<uint32_t>(*text));
    }
    return out;
}

SModuleAnswer SplitResponse(const char* response, uint64_t responseSize) {
    SModuleAnswer answer;
    if (response == nullptr) {
        return answer;
    }
    // Without data the NUL sits just past responseSize, so a NUL inside the counted bytes marks data.
    const void* nul = std::memchr(response, '\0', static_cast<size_t>(responseSize));
    if (nul == nullptr) {
        answer.json.assign(response, static_cast<size_t>(responseSize));
        return answer;
    }
    const size_t jsonLength = static_cast<size_t>(static_cast<const char*>(nul) - response);
    answer.json.assign(response, jsonLength);
    answer.hasData = true;
    const auto* first = reinterpret_cast<const uint8_t*>(response) + jsonLength + 1;
    answer.data.assign(first, first + (static_cast<size_t>(responseSize) - jsonLength - 1));
    return answer;
}

CModuleHost::~CModuleHost() {
    if (_module != nullptr) {
        _free(_module);
    }
    if (_library != nullptr) {
        dlclose(_library);
    }
}

bool CModuleHost::Load(const std::string& path, std::string& error) {
    _library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (_library == nullptr) {
        const char* why = dlerror();
        error = why != nullptr ? std::string(why) : "cannot load " + path;
        return false;
    }
    return LookUp(_library, "CM_Init", _init, error) &&
           LookUp(_library, "CM_ProcessClientRequest", _process, error) &&
           LookUp(_library, "CM_Free", _free, error);
}

bool CModuleHost::Init(bool serviceMode, CMLogCallback callback, std::string& error) {
    if (_init == nullptr) {
        error = "no module loaded";
        return false;
    }
    _module = _init(serviceMode, callback);
    if (_module == nullptr) {
        error = "CM_Init failed";
        return false;
    }
    return true;
}

bool CModuleHost::Process(const std::vector<char>& request, bool isLocal, SModuleAnswer& answer,
                          std::string& error) {
    if (_module == nullptr) {
        error = "module not initialised";
        return false;
    }
    if (request.size() > UINT32_MAX) {
        error = "the request is larger than 4 GiB";
        return false;
    }
    CMPacket packet{};
    packet.request = request.data();
    packet.requestLength = static_cast<uint32_t>(request.size());
    packet.isLocal = isLocal;
    _process(_module, &packet);
    const std::unique_ptr<char, FreeDeleter> response(packet.response);
    if (response == nullptr) {
        error = "the module returned no response";
        return false;
    }
    answer = SplitResponse(response.get(), packet.responseSize);
    return true;
}

std::string CModuleHost::DefaultModulePath() {
    char self[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", self, sizeof(self) - 1);
    if (n <= 0) {
        return "libmod_ses.so.1";  // let the loader search its path
    }
    std::string dir(self, static_cast<size_t>(n));
    dir.erase(dir.rfind('/') + 1);
    // Installed, the module is in the library folder, reached from the program folder by the path
    // the build was configured with (../lib/x86_64-linux-gnu); built, it is in lib/ beside bin/.
    std::string installed = dir + SES_LIBDIR_FROM_BINDIR "/libmod_ses.so.1";
    if (access(installed.c_str(), F_OK) == 0) {
        return installed;
    }
    return dir + "../lib/libmod_ses.so.1";
}

}  // namespace sestool
