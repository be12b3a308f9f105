#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Binding.h"

// LogInit binds the host's callback to the current binding (null silences the module) and installs the custom
// error handler list in the error-message helper. Returns true.
bool LogInit(LogCallback callback, const std::vector<std::wstring>& customErrorHandlers);

// LogEvent hands one line to the host as it is; false when no callback is bound.
bool LogEvent(const wchar_t* text, bool isError);

namespace ca {

// LogEventFormatted is LogEventFmt's worker (an int before "..." keeps va_start well defined).
bool LogEventFormatted(const wchar_t* format, int isError, ...);

// LogEventFmt formats a wide printf-style line of any length and passes it to LogEvent.
template <typename... Args>
bool LogEventFmt(const wchar_t* format, bool isError, Args... args) {
    return LogEventFormatted(format, isError ? 1 : 0, args...);
}

// LogError writes "context: detail" and "context: <status text of code>" as error lines, then
// throws Exception(code, GetErrorMessage(code, false)) when throwIt is set.
void LogError(const wchar_t* detail, const wchar_t* context, uint32_t code, bool throwIt);

// SSourceLine is a place in the source as the log shows it: {"CryptoModule", 216} logs
// "CryptoModule:216".
struct SSourceLine {
    const char* unit;
    long line;
};

// RaiseAt logs where and the text of code as error lines (LogError), then throws Exception(code).
// The one "log the place, then throw" helper: a struct first, so a swapped call does not compile.
[[noreturn]] void RaiseAt(SSourceLine where, uint32_t code);

// GetLineString formats a source location as "file:line".
std::wstring GetLineString(const char* file, long line, const char* buildDate = nullptr);

}  // namespace ca
