#pragma once

#include <cstddef>
#include <string>

class TiXmlDocument;
class TiXmlElement;

constexpr size_t kMaxXmlDepth = 64;

// AppendTextElement appends <name>text</name> to parent and returns it. An empty text adds no text
// node, so the printer writes the self-closing form.
TiXmlElement* AppendTextElement(TiXmlElement* parent, const char* name, const std::wstring& text);

// ReadTextElement sets field from the first child element called name when it has text; otherwise
// the field keeps its value.
void ReadTextElement(const TiXmlElement* parent, const char* name, std::wstring& field);

// CheckXmlShape tells whether text is safe to hand to TinyXML: well-formed UTF-8 without NUL, no
// DOCTYPE, elements nested at most kMaxXmlDepth deep.
bool CheckXmlShape(const char* text, size_t length);

// ParseXmlDocument parses untrusted text into document; false when the shape check fails, TinyXML
// reports an error, or the parse leaves content unread.
bool ParseXmlDocument(const char* text, size_t length, TiXmlDocument& document);
