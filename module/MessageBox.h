#pragma once

#include <string>

namespace ca {

enum class MessageBoxKind { kWarning, kInfo, kError };

// The desktop message boxes never block and never create an application object: a box appears
// (non-modal) only when a QApplication exists and the call runs on its thread; otherwise the text
// goes to the host's log as an error line ("caption: text").
void MessageBoxWarning(const std::wstring& text, const std::wstring& caption);
void MessageBoxInfo(const std::wstring& text, const std::wstring& caption);
void MessageBoxError(const std::wstring& text, const std::wstring& caption);

// A test seam: when set, every box goes to the sink instead. Pass null to restore.
using MessageBoxSink = void (*)(MessageBoxKind kind, const std::wstring& text, const std::wstring& caption);
void SetMessageBoxSink(MessageBoxSink sink);

}  // namespace ca
