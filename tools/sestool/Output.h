#pragma once

// What the commands print beside their results: error lines, texts made safe for a terminal, and
// JSON.
#include <string>

#include "base/Json.h"
#include "tools/sestool/ReplyJson.h"

namespace sestool {

// PrintError writes "sestool COMMAND: text" and a line end on standard error.
void PrintError(const char* command, const std::string& text);

// PrintModuleError writes the module's error as "sestool: MESSAGE (code N)" on standard error.
void PrintModuleError(const SModuleReply& reply);

// Printable makes a text from a container, a certificate or a folder listing safe to print: its
// control characters could otherwise move the cursor, recolour the terminal or forge whole lines.
// Escapes follow Rust's escape_debug: "\n", "\r", "\t" and "\\"; "\u{1b}" for the other C0
// controls, DEL, the C1 controls and Unicode's line, paragraph and bidirectional controls; "\xff"
// for each byte that is no part of well-formed UTF-8. All else passes unchanged.
std::string Printable(const std::string& utf8);

// WriteJson prints value compactly and a line end on standard output.
void WriteJson(const ca::JsonValue& value);

}  // namespace sestool
