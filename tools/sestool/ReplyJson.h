#pragma once

// The module's answer as the commands read it: the reply record and lookups into its JSON.
#include <cstdint>
#include <string>
#include <vector>

#include "base/Json.h"

namespace sestool {

// SModuleReply is the module's answer: the header fields, the whole JSON document and the raw
// bytes behind the JSON's NUL.
struct SModuleReply {
    uint32_t errorCode = 0;
    std::string errorMessage;
    std::string needCertId;
    rapidjson::Document document;
    bool hasData = false;
    std::vector<uint8_t> data;
};

// Member returns object[key], or null when object is null, no object, or has no such member.
const ca::JsonValue* Member(const ca::JsonValue* object, const char* key);
// TextMember returns the string object[key], or "" when it is missing or no string.
std::string TextMember(const ca::JsonValue* object, const char* key);

// JsonParseErrorText names a RapidJSON parse error in English. RapidJSON headers come only through
// base/Json.h, which configures them the same way for every unit of the program.
const char* JsonParseErrorText(rapidjson::ParseErrorCode code);

}  // namespace sestool
