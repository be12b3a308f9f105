#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class TiXmlDocument;
class TiXmlElement;

// Bounds of an untrusted document, enforced by CheckXmlShape before TinyXML sees a byte. TinyXML 2.6.2
// recurses once per element level, keeps a few hundred bytes per node and compares every attribute
// with all earlier ones of its element. A container has 3 levels, 2 attributes and under 100 nodes.
constexpr size_t kMaxXmlDepth = 64;       // elements open at once (an empty element opens none)
constexpr size_t kMaxXmlAttributes = 64;  // attributes of one element
constexpr size_t kMaxXmlNodes = 4096;     // elements, attributes, comments and text runs together
constexpr size_t kMaxXmlReference = 10;   // bytes of one reference, "&#x10FFFF;" and "&#1114111;" fit
// kMaxXmlMarkupBytes bounds a document less the text of its "Attached" elements: a certificate file
// is capped at 1 MiB when read from the folder, a container without attached data is a few KiB.
constexpr size_t kMaxXmlMarkupBytes = size_t{64} << 20;
// kMaxXmlDocumentBytes bounds the whole document, the base64 text of attached data included. A
// container comes back to the module as a request's data, whose length is a 32-bit number, so no
// longer one can arrive (the base64 of the largest payload the module signs, UINT32_MAX bytes, is
// 5.3 GiB: such a container can be produced but never read back). The bound also keeps TinyXML's
// 32-bit text index (TiXmlText::Blank) in range.
constexpr size_t kMaxXmlDocumentBytes = UINT32_MAX;

// AppendTextElement appends <name>text</name> to parent and returns it. An empty text adds no text
// node, so the printer writes the self-closing form.
TiXmlElement* AppendTextElement(TiXmlElement* parent, const char* name, const std::wstring& text);

// ReadTextElement sets field from the first child element called name when it has text; otherwise
// the field keeps its value.
void ReadTextElement(const TiXmlElement* parent, const char* name, std::wstring& field);

// CheckXmlShape tells whether text is safe to hand to TinyXML: one linear pass that accepts only the
// subset containers and certificate files use (see SesXml.cpp), within the bounds above.
bool CheckXmlShape(const char* text, size_t length);

// ParseXmlDocument parses untrusted text into document; false when the shape check fails, TinyXML
// reports an error, or the parse leaves content unread.
bool ParseXmlDocument(const char* text, size_t length, TiXmlDocument& document);
