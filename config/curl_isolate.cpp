#include "config/curl_isolate.h"

#include <dlfcn.h>

#include <mutex>

namespace ca {

namespace {

template <typename Function>
bool ResolveSymbol(void* library, const char* name, Function& out, std::string& error) {
    void* symbol = dlsym(library, name);
    if (symbol == nullptr) {
        error = std::string("symbol ") + name + " not found in the HTTP library";
        return false;
    }
    out = reinterpret_cast<Function>(symbol);
    return true;
}

struct SLoadState {
    std::once_flag once;
    CurlApi api;
    bool loaded = false;
    std::string error;
};

SLoadState& LoadState() {
    static SLoadState state;
    return state;
}

}  // namespace

bool CurlResolve(const char* libraryName, CurlApi& api, std::string& error) {
    void* library = dlopen(libraryName, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        error = reason != nullptr ? reason : std::string("cannot load ") + libraryName;
        return false;
    }
    CurlApi table;
    const bool complete = ResolveSymbol(library, "curl_global_init", table.globalInit, error) &&
                          ResolveSymbol(library, "curl_easy_init", table.easyInit, error) &&
                          ResolveSymbol(library, "curl_easy_setopt", table.easySetopt, error) &&
                          ResolveSymbol(library, "curl_easy_perform", table.easyPerform, error) &&
                          ResolveSymbol(library, "curl_easy_getinfo", table.easyGetinfo, error) &&
                          ResolveSymbol(library, "curl_easy_cleanup", table.easyCleanup, error) &&
                          ResolveSymbol(library, "curl_easy_strerror", table.easyStrerror, error) &&
                          ResolveSymbol(library, "curl_slist_append", table.slistAppend, error) &&
                          ResolveSymbol(library, "curl_slist_free_all", table.slistFreeAll, error);
    if (!complete) {
        dlclose(library);
        return false;
    }
    api = table;
    return true;
}

const CurlApi* CurlLoad(std::string& error) {
    SLoadState& state = LoadState();
    // Deliberate: the library stays loaded and curl_global_cleanup is never called, because the
    // host may use libcurl too and global clean-up is not safe while another user is active.
    std::call_once(state.once, [&state] {
        if (!CurlResolve(kCurlLibraryName, state.api, state.error)) {
            return;
        }
        const CURLcode rc = state.api.globalInit(CURL_GLOBAL_DEFAULT);
        if (rc != CURLE_OK) {
            state.error = std::string("curl_global_init failed: ") + state.api.easyStrerror(rc);
            return;
        }
        state.loaded = true;
    });
    if (!state.loaded) {
        error = state.error;
        return nullptr;
    }
    return &state.api;
}

}  // namespace ca
