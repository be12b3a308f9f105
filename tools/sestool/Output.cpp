#include "tools/sestool/Output.h"

#include <cstdio>

namespace sestool {

namespace {

// The code points Printable escapes: C0 and C1 controls with DEL, the Arabic letter mark, and the
// marks, separators, embeddings, overrides and isolates that move or break a line of text.
struct SCodeRange {
    char32_t first;
    char32_t last;
};
constexpr SCodeRange kEscapedRanges[] = {
    {0x00, 0x1F}, {0x7F, 0x9F}, {0x061C, 0x061C}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069},
};

struct SNamedEscape {
    char32_t code;
    const char* text;
};
constexpr SNamedEscape kNamedEscapes[] = {{'\n', "\\n"}, {'\r', "\\r"}, {'\t', "\\t"}, {'\\', "\\\\"}};

const char* NamedEscape(char32_t code) {
    for (const auto& row : kNamedEscapes) {
        if (row.code == code) {
            return row.text;
        }
    }
    return nullptr;
}

bool IsEscaped(char32_t code) {
    for (const auto& range : kEscapedRanges) {
        if (code >= range.first && code <= range.last) {
            return true;
        }
    }
    return false;
}

// DecodeUtf8 reads the character at text[at] into code and returns its length in bytes, or 0 when
// the bytes there are no well-formed UTF-8 (overlong forms, surrogates and values past U+10FFFF
// included).
size_t DecodeUtf8(const std::string& text, size_t at, char32_t& code) {
    const auto lead = static_cast<unsigned char>(text[at]);
    size_t length = 0;
    char32_t least = 0;
    if (lead < 0x80) {
        code = lead;
        return 1;
    }
    if ((lead & 0xE0) == 0xC0) {
        length = 2;
        least = 0x80;
        code = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3;
        least = 0x800;
        code = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4;
        least = 0x10000;
        code = lead & 0x07;
    } else {
        return 0;
    }
    if (length > text.size() - at) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80) {
            return 0;
        }
        code = (code << 6) | (next & 0x3F);
    }
    if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        return 0;
    }
    return length;
}

}  // namespace

void PrintError(const char* command, const std::string& text) {
    std::fprintf(stderr, "sestool %s: %s\n", command, text.c_str());
}

void PrintModuleError(const SModuleReply& reply) {
    // Some codes (50, private-key access refused) have no text on purpose.
    const std::string text =
        reply.errorMessage.empty() ? "the module answered an error without text" : reply.errorMessage;
    std::fprintf(stderr, "sestool: %s (code %u)\n", Printable(text).c_str(),
                 static_cast<unsigned>(reply.errorCode));
}

std::string Printable(const std::string& utf8) {
    std::string out;
    out.reserve(utf8.size());
    for (size_t at = 0; at < utf8.size();) {
        char32_t code = 0;
        const size_t length = DecodeUtf8(utf8, at, code);
        if (length == 0) {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned char>(utf8[at]));
            out += escaped;
            ++at;
            continue;
        }
        const char* named = NamedEscape(code);
        if (named != nullptr) {
            out += named;
        } else if (IsEscaped(code)) {
            char escaped[16];
            std::snprintf(escaped, sizeof(escaped), "\\u{%x}", static_cast<unsigned>(code));
            out += escaped;
        } else {
            out.append(utf8, at, length);
        }
        at += length;
    }
    return out;
}

void WriteJson(const ca::JsonValue& value) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    value.Accept(writer);
    std::fwrite(buffer.GetString(), 1, buffer.GetSize(), stdout);
    std::fputc('\n', stdout);
}

}  // namespace sestool
