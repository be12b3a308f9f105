#include "tools/sestool/ReplyJson.h"

#include <rapidjson/error/en.h>

namespace sestool {

const ca::JsonValue* Member(const ca::JsonValue* object, const char* key) {
    if (object == nullptr || !object->IsObject()) {
        return nullptr;
    }
    const auto it = object->FindMember(key);
    return it == object->MemberEnd() ? nullptr : &it->value;
}

std::string TextMember(const ca::JsonValue* object, const char* key) {
    const ca::JsonValue* value = Member(object, key);
    if (value == nullptr || !value->IsString()) {
        return std::string();
    }
    return std::string(value->GetString(), value->GetStringLength());
}

const char* JsonParseErrorText(rapidjson::ParseErrorCode code) { return rapidjson::GetParseError_En(code); }

}  // namespace sestool
