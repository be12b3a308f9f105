#include "base/Log.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>

#include "base/Binding.h"
#include "base/Encode.h"
#include "base/ErrorMessageHelper.h"
#include "base/Exception.h"

namespace {

SBinding gDefaultBinding;
thread_local SBinding* tBinding = nullptr;

}  // namespace

SBinding& CurrentBinding() { return tBinding != nullptr ? *tBinding : gDefaultBinding; }

CBindingScope::CBindingScope(SBinding& binding) : _previous(tBinding) { tBinding = &binding; }

CBindingScope::~CBindingScope() { tBinding = _previous; }

bool LogInit(LogCallback callback, const std::vector<std::wstring>& customErrorHandlers) {
    SBinding& binding = CurrentBinding();
    binding.callback.store(callback);
    binding.customErrorHandlers = customErrorHandlers;
    return true;
}

bool LogEvent(const wchar_t* text, bool isError) {
    const LogCallback callback = CurrentBinding().callback.load();
    if (callback == nullptr) {
        return false;
    }
    return callback(text == nullptr ? L"" : text, isError);
}

namespace ca {

namespace {

// FormattedLength measures a wide printf result without a size limit by writing to a null sink.
int FormattedLength(const wchar_t* format, va_list args) {
    FILE* sink = std::fopen("/dev/null", "w");
    if (sink == nullptr) {
        return -1;
    }
    const int length = std::vfwprintf(sink, format, args);
    std::fclose(sink);
    return length;
}

}  // namespace

bool LogEventFormatted(const wchar_t* format, int isError, ...) {
    if (format == nullptr) {
        return false;
    }
    va_list args;
    va_start(args, isError);
    // Most lines fit the first buffer; longer ones are measured and formatted again.
    wchar_t small[512];
    va_list copy;
    va_copy(copy, args);
    const int written = std::vswprintf(small, std::size(small), format, copy);
    va_end(copy);
    if (written >= 0) {
        va_end(args);
        return LogEvent(small, isError != 0);
    }
    va_copy(copy, args);
    const int length = FormattedLength(format, copy);
    va_end(copy);
    if (length < 0) {
        va_end(args);
        return false;
    }
    std::wstring line(static_cast<size_t>(length) + 1, L'\0');
    std::vswprintf(line.data(), line.size(), format, args);
    va_end(args);
    line.resize(static_cast<size_t>(length));
    return LogEvent(line.c_str(), isError != 0);
}

void LogError(const wchar_t* detail, const wchar_t* context, uint32_t code, bool throwIt) {
    const std::wstring prefix = std::wstring(context == nullptr ? L"" : context) + L": ";
    LogEvent((prefix + (detail == nullptr ? L"" : detail)).c_str(), true);
    LogEvent((prefix + ::GetErrorMessage(code, true)).c_str(), true);
    if (throwIt) {
        throw Exception(code, ::GetErrorMessage(code, false));
    }
}

void RaiseAt(SSourceLine where, uint32_t code) {
    LogError(GetLineString(where.unit, where.line).c_str(), L"", code, true);
    throw Exception(code);  // not reached: LogError throws
}

std::wstring GetLineString(const char* file, long line, const char* /*buildDate*/) {
    char text[512];
    std::snprintf(text, sizeof(text), "%s:%ld", file == nullptr ? "" : file, line);
    return u8u16(text);
}

}  // namespace ca
