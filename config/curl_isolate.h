#pragma once

#include <string>

// Only the types and constants of libcurl are used from its header; the functions come from dlsym.
// The deprecated bitmask protocol options stay usable as a fallback for libraries older than 7.85.
#ifndef CURL_DISABLE_DEPRECATION
#define CURL_DISABLE_DEPRECATION
#endif
#ifndef CURL_DISABLE_TYPECHECK
#define CURL_DISABLE_TYPECHECK
#endif
#include <curl/curl.h>

namespace ca {

// CurlApi is the table of libcurl functions the HTTP client calls, resolved from the shared library.
struct CurlApi {
    CURLcode (*globalInit)(long flags) = nullptr;
    CURL* (*easyInit)() = nullptr;
    CURLcode (*easySetopt)(CURL* handle, CURLoption option, ...) = nullptr;
    CURLcode (*easyPerform)(CURL* handle) = nullptr;
    CURLcode (*easyGetinfo)(CURL* handle, CURLINFO info, ...) = nullptr;
    void (*easyCleanup)(CURL* handle) = nullptr;
    const char* (*easyStrerror)(CURLcode code) = nullptr;
    curl_slist* (*slistAppend)(curl_slist* list, const char* line) = nullptr;
    void (*slistFreeAll)(curl_slist* list) = nullptr;
};

// kCurlLibraryName is the soname the client loads.
constexpr const char* kCurlLibraryName = "libcurl.so.4";

// CurlResolve opens libraryName (RTLD_NOW | RTLD_LOCAL) and fills api with every function of the
// table. On failure it closes the library again, leaves api untouched and puts the reason (the
// loader's text or the missing symbol) in error. A loaded library is never closed.
bool CurlResolve(const char* libraryName, CurlApi& api, std::string& error);

// CurlLoad resolves kCurlLibraryName and runs curl_global_init, once per process and thread-safe.
// Returns the table, or nullptr with the reason in error (the same reason on every later call).
const CurlApi* CurlLoad(std::string& error);

}  // namespace ca
