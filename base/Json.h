#pragma once

// Every RapidJSON include of the module goes through this header: RapidJSON's asserts must throw
// (answered 16300) instead of aborting the host.
#include "base/ErrorCodes.h"
#include "base/Exception.h"

#ifndef RAPIDJSON_ASSERT
#define RAPIDJSON_ASSERT(x)                          \
    do {                                             \
        if (!(x)) {                                  \
            throw ::ca::Exception(::ca::kJsonError); \
        }                                            \
    } while (false)
#endif
#define RAPIDJSON_HAS_STDSTRING 1

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <string>

#include "base/Blob.h"

namespace ca {

using JsonValue = rapidjson::Value;
using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

constexpr size_t kMaxJsonDepth = 64;
constexpr size_t kMaxNumberLength = 40;

// ParseJson parses text[0, length) as one JSON document. Throws Exception(16300) for invalid JSON,
// nesting deeper than kMaxJsonDepth or a number token longer than kMaxNumberLength (RapidJSON 1.1.0
// misreads such numbers).
void ParseJson(rapidjson::Document& document, const char* text, size_t length);

// The Read* helpers look up key in object; absent gives false, a value of another type throws
// Exception(16300), a present value is stored and gives true.
const JsonValue* FindMember(const JsonValue& object, const char* key);
bool ReadUint(const JsonValue& object, const char* key, uint32_t& out);
bool ReadBool(const JsonValue& object, const char* key, bool& out);
bool ReadWString(const JsonValue& object, const char* key, std::wstring& out);
// ReadBase64 decodes a string value into blob (the old buffer is released first).
bool ReadBase64(const JsonValue& object, const char* key, Blob& blob);

// SFramedText is a request or response buffer split at its first NUL: the JSON text before it and,
// when there is a NUL, the raw bytes after it (tail is null without one).
struct SFramedText {
    size_t jsonLength = 0;
    const uint8_t* tail = nullptr;
    size_t tailLength = 0;
};

// SplitAtNul splits text[0, length); a null text gives an empty split.
SFramedText SplitAtNul(const char* text, size_t length);

// ExpectString returns value's text or throws Exception(16300).
const char* ExpectString(const JsonValue& value);

void WriteWString(JsonWriter& writer, const std::wstring& text);
void WriteKey(JsonWriter& writer, const char* key);
void WriteBase64(JsonWriter& writer, const uint8_t* bytes, uint32_t size);

}  // namespace ca
