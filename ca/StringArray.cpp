#include "ca/StringArray.h"

#include "base/Encode.h"

namespace ca {

void StringArray::FromJson(const JsonValue& value) {
    if (!value.IsArray() || value.Empty()) {
        return;
    }
    for (const JsonValue& item : value.GetArray()) {
        const char* text = ExpectString(item);
        items.push_back(u8u16(text, item.GetStringLength()));
    }
}

void StringArray::ToJson(JsonWriter& writer) const {
    writer.StartArray();
    for (const std::wstring& item : items) {
        WriteWString(writer, item);
    }
    writer.EndArray();
}

}  // namespace ca
