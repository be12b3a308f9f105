#include "ses/SesXml.h"

#include <strings.h>
#include <tinyxml.h>

#include <cstring>
#include <mutex>

#include "base/Encode.h"

TiXmlElement* AppendTextElement(TiXmlElement* parent, const char* name, const std::wstring& text) {
    auto* element = new TiXmlElement(name);
    parent->LinkEndChild(element);
    if (!text.empty()) {
        element->LinkEndChild(new TiXmlText(ca::u16u8(text)));
    }
    return element;
}

void ReadTextElement(const TiXmlElement* parent, const char* name, std::wstring& field) {
    const TiXmlElement* element = parent->FirstChildElement(name);
    if (element == nullptr) {
        return;
    }
    const char* text = element->GetText();
    if (text != nullptr && *text != '\0') {
        field = ca::u8u16(text);
    }
}

namespace {

// Skip returns the offset just past the first terminator at or after from, or npos.
size_t Skip(const char* text, size_t length, size_t from, const char* terminator) {
    const size_t n = std::strlen(terminator);
    if (from > length) {
        return std::string::npos;
    }
    const void* hit = memmem(text + from, length - from, terminator, n);
    return hit == nullptr ? std::string::npos : static_cast<size_t>(static_cast<const char*>(hit) - text) + n;
}

bool StartsWith(const char* text, size_t length, size_t at, const char* prefix) {
    const size_t n = std::strlen(prefix);
    return at + n <= length && std::memcmp(text + at, prefix, n) == 0;
}

// IsValidUtf8 accepts well-formed UTF-8 only. TinyXML skips a multi-byte character by its lead
// byte alone, so a truncated sequence at the end of the text makes it read past the buffer.
bool IsValidUtf8(const unsigned char* p, size_t length) {
    size_t i = 0;
    while (i < length) {
        const unsigned char c = p[i];
        if (c < 0x80) {
            ++i;
            continue;
        }
        size_t extra = 0;
        uint32_t cp = 0;
        if (c >= 0xC2 && c <= 0xDF) {
            extra = 1, cp = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            extra = 2, cp = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3, cp = c & 0x07;
        } else {
            return false;
        }
        if (length - i <= extra) {
            return false;
        }
        for (size_t k = 1; k <= extra; ++k) {
            if ((p[i + k] & 0xC0) != 0x80) {
                return false;
            }
            cp = (cp << 6) | (p[i + k] & 0x3F);
        }
        if ((extra == 2 && (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF))) || (extra == 3 && (cp < 0x10000 || cp > 0x10FFFF))) {
            return false;
        }
        i += extra + 1;
    }
    return true;
}

}  // namespace

bool CheckXmlShape(const char* text, size_t length) {
    if (std::memchr(text, '\0', length) != nullptr ||
        !IsValidUtf8(reinterpret_cast<const unsigned char*>(text), length)) {
        return false;
    }
    size_t depth = 0;
    size_t i = 0;
    while (i < length) {
        const void* open = std::memchr(text + i, '<', length - i);
        if (open == nullptr) {
            break;
        }
        i = static_cast<size_t>(static_cast<const char*>(open) - text);
        size_t next = std::string::npos;
        if (StartsWith(text, length, i, "<!--")) {
            next = Skip(text, length, i + 4, "-->");
        } else if (StartsWith(text, length, i, "<![CDATA[")) {
            next = Skip(text, length, i + 9, "]]>");
        } else if (StartsWith(text, length, i, "<?")) {
            next = Skip(text, length, i + 2, "?>");
        } else if (StartsWith(text, length, i, "<!")) {
            // TinyXML drops everything after a DOCTYPE with an internal subset: refuse them all.
            if (i + 9 <= length && strncasecmp(text + i, "<!DOCTYPE", 9) == 0) {
                return false;
            }
            next = Skip(text, length, i + 2, ">");
        } else if (StartsWith(text, length, i, "</")) {
            if (depth == 0) {
                return false;
            }
            --depth;
            next = Skip(text, length, i + 2, ">");
        } else {
            // A start tag: find its end outside quoted attribute values.
            char quote = 0;
            size_t j = i + 1;
            for (; j < length; ++j) {
                const char c = text[j];
                if (quote != 0) {
                    quote = c == quote ? 0 : quote;
                } else if (c == '"' || c == '\'') {
                    quote = c;
                } else if (c == '>') {
                    break;
                }
            }
            if (j >= length) {
                return false;
            }
            if (text[j - 1] != '/' && ++depth > kMaxXmlDepth) {
                return false;
            }
            next = j + 1;
        }
        if (next == std::string::npos) {
            return false;
        }
        i = next;
    }
    return true;
}

bool ParseXmlDocument(const char* text, size_t length, TiXmlDocument& document) {
    static std::once_flag once;
    // Texts keep their blanks and line breaks: a record read back equals the one written.
    std::call_once(once, [] { TiXmlBase::SetCondenseWhiteSpace(false); });
    if (text == nullptr || !CheckXmlShape(text, length)) {
        return false;
    }
    const std::string copy(text, length);
    const char* end = document.Parse(copy.c_str(), nullptr, TIXML_ENCODING_UTF8);
    if (document.Error()) {
        return false;
    }
    // TinyXML answers null when it consumed the whole text, else where it stopped.
    while (end != nullptr && (*end == ' ' || *end == '\t' || *end == '\r' || *end == '\n')) {
        ++end;
    }
    return (end == nullptr || *end == '\0') && document.RootElement() != nullptr;
}
