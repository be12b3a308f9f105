#include "base/Json.h"

#include <cstring>

#include "base/Encode.h"

namespace ca {

namespace {

bool IsNumberChar(char c) {
    return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

// CheckShape walks the text once outside strings: nesting depth and number token lengths.
void CheckShape(const char* text, size_t length) {
    size_t depth = 0;
    size_t numberRun = 0;
    bool inString = false;
    for (size_t i = 0; i < length; ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\') {
                ++i;  // the escaped character cannot end the string
            } else if (c == '"') {
                inString = false;
            }
            continue;
        }
        if (IsNumberChar(c)) {
            if (++numberRun > kMaxNumberLength) {
                throw Exception(kJsonError);
            }
            continue;
        }
        numberRun = 0;
        if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            if (++depth > kMaxJsonDepth) {
                throw Exception(kJsonError);
            }
        } else if ((c == '}' || c == ']') && depth > 0) {
            --depth;
        }
    }
}

}  // namespace

void ParseJson(rapidjson::Document& document, const char* text, size_t length) {
    if (text == nullptr) {
        throw Exception(kJsonError);
    }
    CheckShape(text, length);
    document.Parse<rapidjson::kParseIterativeFlag>(text, length);
    if (document.HasParseError()) {
        throw Exception(kJsonError);
    }
}

const JsonValue* FindMember(const JsonValue& object, const char* key) {
    if (!object.IsObject()) {
        throw Exception(kJsonError);
    }
    const auto it = object.FindMember(key);
    return it == object.MemberEnd() ? nullptr : &it->value;
}

bool ReadUint(const JsonValue& object, const char* key, uint32_t& out) {
    const JsonValue* value = FindMember(object, key);
    if (value == nullptr) {
        return false;
    }
    if (!value->IsUint()) {
        throw Exception(kJsonError);
    }
    out = value->GetUint();
    return true;
}

bool ReadBool(const JsonValue& object, const char* key, bool& out) {
    const JsonValue* value = FindMember(object, key);
    if (value == nullptr) {
        return false;
    }
    if (!value->IsBool()) {
        throw Exception(kJsonError);
    }
    out = value->GetBool();
    return true;
}

SFramedText SplitAtNul(const char* text, size_t length) {
    SFramedText split;
    if (text == nullptr) {
        return split;
    }
    split.jsonLength = strnlen(text, length);
    if (split.jsonLength < length) {
        split.tail = reinterpret_cast<const uint8_t*>(text) + split.jsonLength + 1;
        split.tailLength = length - split.jsonLength - 1;
    }
    return split;
}

const char* ExpectString(const JsonValue& value) {
    if (!value.IsString()) {
        throw Exception(kJsonError);
    }
    return value.GetString();
}

bool ReadWString(const JsonValue& object, const char* key, std::wstring& out) {
    const JsonValue* value = FindMember(object, key);
    if (value == nullptr) {
        return false;
    }
    ExpectString(*value);
    out = u8u16(value->GetString(), value->GetStringLength());
    return true;
}

bool ReadBase64(const JsonValue& object, const char* key, Blob& blob) {
    const JsonValue* value = FindMember(object, key);
    if (value == nullptr) {
        return false;
    }
    const char* text = ExpectString(*value);
    blob.data.reset();
    blob.size = 0;
    Base64Decode(text, blob.data, blob.size);
    return true;
}

void WriteWString(JsonWriter& writer, const std::wstring& text) {
    const std::string utf8 = u16u8(text);
    writer.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

void WriteKey(JsonWriter& writer, const char* key) {
    writer.Key(key, static_cast<rapidjson::SizeType>(std::strlen(key)));
}

void WriteBase64(JsonWriter& writer, const uint8_t* bytes, uint32_t size) {
    const std::string text = Base64Encode(bytes, size);
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

}  // namespace ca
