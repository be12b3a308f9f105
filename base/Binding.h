#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

using LogCallback = bool (*)(const wchar_t* text, bool isError);

// SBinding is what one module instance gives the bottom layer: its log callback, the language of
// its texts and the configured error handlers. Two modules in one process each keep their own.
struct SBinding {
    std::atomic<LogCallback> callback{nullptr};
    std::atomic<uint32_t> language{0};              // 0 reads as English
    std::vector<std::wstring> customErrorHandlers;  // written during CM_Init only
};

// CurrentBinding is the binding of the module whose call runs on this thread, or the process
// default outside any module call (tools and tests that use the library directly).
SBinding& CurrentBinding();

// CBindingScope makes binding current on this thread for its lifetime; scopes nest.
class CBindingScope {
public:
    explicit CBindingScope(SBinding& binding);
    ~CBindingScope();
    CBindingScope(const CBindingScope&) = delete;
    CBindingScope& operator=(const CBindingScope&) = delete;

private:
    SBinding* _previous;
};
