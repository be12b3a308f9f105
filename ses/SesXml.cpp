#include "ses/SesXml.h"

#include <tinyxml.h>

#include <array>
#include <cstring>
#include <iterator>
#include <mutex>

#include "base/ByteReader.h"
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

// The subset CheckXmlShape accepts, chosen so that TinyXML 2.6.2 and the check agree on where every
// construct ends (TinyXML ends "<?..." and unknown nodes such as "<1 ...>" at the first '>', while an
// XML reader would look for "?>" or honour quotes; such disagreement let nesting past the depth guard):
//   document  = [BOM] [declaration] misc* element misc*        misc = white space | comment
//   declaration = "<?xml" (S name S? "=" S? quoted)* S? "?>"   names and values of ASCII name
//               characters only, so no '<', '>', quote or '&' inside: TinyXML ends it at its '>'
//   element   = "<" name (S name S? "=" S? quoted)* S? ("/>" | ">" content* "</" name S? ">")
//   quoted    = '"' or "'", then characters but '<' and references, then the same quote
//   content   = element | comment | text (characters and references up to the next '<')
//   comment   = "<!--" characters without "--" "-->"
//   reference = "&#x" hex digits ";" | "&#" digits ";" | "&" name ";", at most kMaxXmlReference
//               bytes: TinyXML looks for a numeric reference's ';' with strchr
// Processing instructions, DOCTYPE, CDATA, every other "<!" and "<" not followed by a name (so
// "<1" and "< a") are refused, and so is a bare '&'. Names are read as TinyXML reads them, white
// space is XML's (blank, TAB, LF, CR), characters are well-formed UTF-8 without the control
// characters XML forbids: TinyXML steps over a multi-byte character by its lead byte alone, so a
// truncated one at the end of the text would make it read past the buffer.

// Character classes of ASCII bytes. Every non-ASCII character is kNonAscii: TinyXML takes any byte
// from 0x7F up as a name character.
enum : uint8_t {
    kChar = 1,        // a character XML allows: TAB, LF, CR, 0x20 and up
    kText = 2,        // text and attribute values besides references: kChar but '<' and '&'
    kSpace = 4,       // white space
    kNameStart = 8,   // first character of a name: letter or '_'
    kName = 16,       // later characters of a name: also digit, '-', '.', ':'
    kDigit = 32,      // decimal digit
    kHexDigit = 64,   // hexadecimal digit
    kDeclChar = 128,  // names and values in the XML declaration: ASCII name characters
};
constexpr uint8_t kNonAscii = kChar | kText | kNameStart | kName;

constexpr std::array<uint8_t, 128> MakeAsciiClasses() {
    std::array<uint8_t, 128> classes{};
    for (int c = 0; c < 128; ++c) {
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        const bool digit = c >= '0' && c <= '9';
        const bool space = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        const bool character = space || c >= 0x20;
        const bool name = letter || digit || c == '_' || c == '-' || c == '.' || c == ':';
        classes[c] = static_cast<uint8_t>(
            (character ? kChar : 0) | (character && c != '<' && c != '&' ? kText : 0) | (space ? kSpace : 0) |
            (letter || c == '_' ? kNameStart : 0) | (name ? kName | kDeclChar : 0) | (digit ? kDigit : 0) |
            (digit || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f') ? kHexDigit : 0));
    }
    return classes;
}
constexpr auto kAsciiClasses = MakeAsciiClasses();
static_assert(kAsciiClasses[0] == 0 && kAsciiClasses['\v'] == 0 && kAsciiClasses['<'] == kChar &&
              kAsciiClasses['\t'] == (kChar | kText | kSpace) &&
              kAsciiClasses['f'] == (kChar | kText | kNameStart | kName | kHexDigit | kDeclChar) &&
              kAsciiClasses['-'] == (kChar | kText | kName | kDeclChar));

// Lead bytes of well-formed multi-byte UTF-8: 0xC0, 0xC1 and 0xF5 up only start overlong or
// out-of-range forms; the smallest code point of each length refuses the other overlong forms.
struct SUtf8Row {
    uint8_t firstLead;
    uint8_t lastLead;
    size_t extra;
    uint32_t smallest;
};
constexpr SUtf8Row kUtf8Leads[] = {{0xC2, 0xDF, 1, 0x80}, {0xE0, 0xEF, 2, 0x800}, {0xF0, 0xF4, 3, 0x10000}};

bool IsScalarValue(uint64_t code) { return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF); }

// Utf8Length returns the length of the well-formed multi-byte character in, or 0. It reads a copy:
// nothing is consumed.
size_t Utf8Length(ca::CByteReader in) {
    uint8_t lead = 0;
    if (!in.ReadU8(lead)) {
        return 0;
    }
    for (const SUtf8Row& row : kUtf8Leads) {
        if (lead < row.firstLead || lead > row.lastLead) {
            continue;
        }
        uint32_t code = lead & (0x7F >> (row.extra + 1));
        for (size_t k = 0; k < row.extra; ++k) {
            uint8_t next = 0;
            if (!in.ReadU8(next) || (next & 0xC0) != 0x80) {
                return 0;
            }
            code = (code << 6) | (next & 0x3F);
        }
        return code >= row.smallest && IsScalarValue(code) ? row.extra + 1 : 0;
    }
    return 0;
}

uint32_t DigitValue(uint8_t c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; }

// The three forms of a reference, first match wins; base 0 marks an entity name.
struct SReferenceRow {
    const char* prefix;
    uint8_t first;
    uint8_t rest;
    uint32_t base;
};
constexpr SReferenceRow kReferences[] = {
    {"&#x", kHexDigit, kHexDigit, 16},
    {"&#", kDigit, kDigit, 10},
    {"&", kNameStart, kName, 0},
};

// CXmlShape walks a document once and tells whether it is in the subset above.
class CXmlShape {
public:
    CXmlShape(const char* text, size_t length) : _in(reinterpret_cast<const uint8_t*>(text), length) {}

    bool Document() {
        if (_in.Left() > kMaxXmlDocumentBytes) {
            return false;
        }
        (void)Literal("\xEF\xBB\xBF");
        if (_in.StartsWith("<?xml", 5) && !Declaration()) {
            return false;
        }
        // The root is the first start tag: "<?", "<!" and text before it fail its name check.
        if (!Misc() || !_in.StartsWith("<", 1) || !StartTag()) {
            return false;
        }
        while (_depth > 0) {
            if (!Content() || !WithinMarkupCap()) {
                return false;
            }
        }
        return Misc() && _in.Left() == 0 && WithinMarkupCap();
    }

private:
    struct SName {
        const uint8_t* start;
        size_t length;
    };

    bool Peek(uint8_t& c) const {
        if (_in.Left() == 0) {
            return false;
        }
        c = *_in.Data();
        return true;
    }

    bool Literal(const char* text) {
        const size_t n = std::strlen(text);
        return _in.StartsWith(text, n) && _in.Skip(n);
    }

    bool Byte(uint8_t c) { return _in.StartsWith(&c, 1) && _in.Skip(1); }

    // Take consumes one character of a class in classes.
    bool Take(uint8_t classes) {
        uint8_t c = 0;
        if (!Peek(c)) {
            return false;
        }
        if (c < 0x80) {
            return (kAsciiClasses[c] & classes) != 0 && _in.Skip(1);
        }
        const size_t n = (kNonAscii & classes) != 0 ? Utf8Length(_in) : 0;
        return n != 0 && _in.Skip(n);
    }

    size_t TakeRun(uint8_t classes) {
        size_t count = 0;
        while (Take(classes)) {
            ++count;
        }
        return count;
    }

    bool Spaces() { return TakeRun(kSpace) != 0; }

    bool CountNode() { return ++_nodes <= kMaxXmlNodes; }

    bool WithinMarkupCap() const { return _size - _in.Left() - _attachedText <= kMaxXmlMarkupBytes; }

    bool Quote(uint8_t& quote) { return Peek(quote) && (quote == '"' || quote == '\'') && _in.Skip(1); }
    // EqualsQuote reads the "=" between a name and its value, blanks allowed, and the opening quote.
    bool EqualsQuote(uint8_t& quote) {
        Spaces();
        if (!Byte('=')) {
            return false;
        }
        Spaces();
        return Quote(quote);
    }

    bool Name(SName& name) {
        const size_t before = _in.Left();
        name.start = _in.Data();
        if (!Take(kNameStart)) {
            return false;
        }
        TakeRun(kName);
        name.length = before - _in.Left();
        return true;
    }

    static bool SameName(const SName& name, const char* text, size_t length) {
        return name.length == length && std::memcmp(name.start, text, length) == 0;
    }

    // Misc skips white space and comments outside the root element.
    bool Misc() {
        for (;;) {
            if (Spaces()) {
                continue;
            }
            if (!_in.StartsWith("<!--", 4)) {
                return true;
            }
            if (!Comment()) {
                return false;
            }
        }
    }

    bool Declaration() {
        (void)Literal("<?xml");
        for (;;) {
            const bool spaced = Spaces();
            if (Literal("?>")) {
                return true;
            }
            uint8_t quote = 0;
            if (!spaced || TakeRun(kDeclChar) == 0) {
                return false;
            }
            if (!EqualsQuote(quote)) {
                return false;
            }
            TakeRun(kDeclChar);
            if (!Byte(quote)) {
                return false;
            }
        }
    }

    // Content reads one item inside an open element; the first row whose prefix matches reads it.
    bool Content() {
        struct SContentRow {
            const char* prefix;
            bool (CXmlShape::*read)();
        };
        static constexpr SContentRow kRows[] = {
            {"<!--", &CXmlShape::Comment},
            {"</", &CXmlShape::EndTag},
            {"<", &CXmlShape::StartTag},  // its name check refuses "<?", "<!", CDATA, "<1", "< a"
            {"", &CXmlShape::Text},       // at the end of the input Text reads nothing and fails
        };
        for (const SContentRow& row : kRows) {
            if (_in.StartsWith(row.prefix, std::strlen(row.prefix))) {
                return (this->*row.read)();
            }
        }
        return false;
    }

    bool StartTag() {
        SName name{};
        if (!Literal("<") || !Name(name) || !CountNode()) {
            return false;
        }
        for (size_t attributes = 0;; ++attributes) {
            const bool spaced = Spaces();
            if (Literal("/>")) {
                return true;
            }
            if (Literal(">")) {
                if (_depth == kMaxXmlDepth) {
                    return false;
                }
                _open[_depth++] = name;
                return true;
            }
            if (!spaced || attributes == kMaxXmlAttributes || !Attribute()) {
                return false;
            }
        }
    }

    bool Attribute() {
        SName name{};
        uint8_t quote = 0;
        if (!Name(name) || !CountNode()) {
            return false;
        }
        if (!EqualsQuote(quote)) {
            return false;
        }
        for (uint8_t c = 0; Peek(c) && c != quote;) {
            if (!(c == '&' ? Reference() : Take(kText))) {
                return false;
            }
        }
        return Byte(quote);
    }

    bool EndTag() {
        SName name{};
        if (!Literal("</") || !Name(name)) {
            return false;
        }
        Spaces();
        if (!Literal(">") || _depth == 0) {
            return false;
        }
        const SName& open = _open[--_depth];
        return SameName(name, reinterpret_cast<const char*>(open.start), open.length);
    }

    bool Comment() {
        if (!Literal("<!--") || !CountNode()) {
            return false;
        }
        for (uint8_t c = 0; Peek(c);) {
            if (c == '-' && Literal("--")) {
                return Literal(">");  // XML allows no "--" inside a comment
            }
            if (!Take(kChar)) {
                return false;
            }
        }
        return false;
    }

    // Text reads characters and references up to the next '<'. The text of an "Attached" element,
    // the base64 of attached data, is the only content not counted against kMaxXmlMarkupBytes.
    bool Text() {
        const size_t before = _in.Left();
        if (!CountNode()) {
            return false;
        }
        for (uint8_t c = 0; Peek(c) && c != '<';) {
            if (!(c == '&' ? Reference() : Take(kText))) {
                return false;
            }
        }
        if (_depth > 0 && SameName(_open[_depth - 1], "Attached", 8)) {
            _attachedText += before - _in.Left();
        }
        return _in.Left() != before;
    }

    bool Reference() {
        const size_t before = _in.Left();
        const SReferenceRow* row = std::begin(kReferences);
        while (row != std::end(kReferences) && !Literal(row->prefix)) {
            ++row;
        }
        if (row == std::end(kReferences)) {
            return false;
        }
        // The scan stops at the bound: TinyXML looks for the ';' of a numeric reference with strchr.
        uint64_t value = 0;
        size_t count = 0;
        for (uint8_t c = 0; Peek(c) && c != ';' && before - _in.Left() < kMaxXmlReference; ++count) {
            if (!Take(count == 0 ? row->first : row->rest)) {
                return false;
            }
            value = row->base == 0 ? 0 : value * row->base + DigitValue(c);
        }
        return count != 0 && Byte(';') && before - _in.Left() <= kMaxXmlReference &&
               (row->base == 0 || IsScalarValue(value));
    }

    ca::CByteReader _in;
    const size_t _size = _in.Left();
    std::array<SName, kMaxXmlDepth> _open{};
    size_t _depth = 0;
    size_t _nodes = 0;
    size_t _attachedText = 0;
};

}  // namespace

bool CheckXmlShape(const char* text, size_t length) { return CXmlShape(text, length).Document(); }

bool ParseXmlDocument(const char* text, size_t length, TiXmlDocument& document) {
    static std::once_flag once;
    // Texts keep their blanks and line breaks: a record read back equals the one written.
    std::call_once(once, [] { TiXmlBase::SetCondenseWhiteSpace(false); });
    if (text == nullptr || !CheckXmlShape(text, length)) {
        return false;
    }
    const std::string copy(text, length);
    // Tab size 0 turns TinyXML's row and column counting off: its int column overflows on a long run
    // of tabs and fails an assertion (an attached text may be that long).
    document.SetTabSize(0);
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
