// The JSON dump of a parsed tree: each primitive block is decoded through the object model for its
// display string, so the dump sits above both the block parser and the typed objects.
#include <cstdio>
#include <memory>
#include <string>

#include "asn1/Asn1Constructed.h"
#include "asn1/Asn1Primitives.h"
#include "asn1/CryptAsn1Parser.h"
#include "asn1/x500.h"
#include "base/Encode.h"

void CAsn1Block::ToJson(rapidjson::StringBuffer& buffer) {
    ca::JsonWriter writer(buffer);
    ToJson(writer);
}

void CAsn1Block::ToJson(ca::JsonWriter& writer) {
    const auto writeText = [&writer](const std::wstring& text) {
        const std::string utf8 = ca::u16u8(text);
        writer.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
    };
    writer.StartObject();
    writer.Key("structure");
    writer.StartObject();
    writer.Key("tag");
    writer.Uint(tag);
    std::string tagName;
    if (!IsConstructed()) {
        const std::unique_ptr<CAsn1Object> object = CreatePrimitiveObject(this, nullptr);
        object->Decode();
        const std::wstring formatted = object->GetFormattedString(0);
        if (tag == CAsn1ObjectIdentifier::kTag) {
            writer.Key("description");
            writeText(GetOidDescription(formatted));
        }
        writer.Key("formattedStringValue");
        writeText(formatted);
        tagName = " " + object->GetTagName();
    }
    char hex[3];
    std::snprintf(hex, sizeof(hex), "%02X", tag);
    const std::string tagString = hex + tagName + (IsConstructed() ? "(CONSTRUCTED" : "(PRIMITIVE") +
                                  (IsContextSpecific() ? ", CONTEXT)" : ")");
    writer.Key("tagString");
    writer.String(tagString.data(), static_cast<rapidjson::SizeType>(tagString.size()));
    writer.Key("length");
    writer.Uint(totalLength);
    writer.Key("offset");
    writer.Uint(offset);
    writer.Key("isUnknownLength");
    writer.Bool(isIndefinite);
    writer.Key("corrupted");
    writer.Bool(isCorrupted);
    if (!innerBlocks.empty()) {
        writer.Key("innerBlocks");
        writer.StartArray();
        for (const auto& inner : innerBlocks) {
            inner->ToJson(writer);
        }
        writer.EndArray();
    }
    writer.EndObject();
    writer.EndObject();
}

std::string CCryptAsn1Parser::GetAsn1Structure() {
    if (innerBlocks.empty()) {
        return {};
    }
    rapidjson::StringBuffer buffer;
    innerBlocks.front()->ToJson(buffer);
    return std::string(buffer.GetString(), buffer.GetSize());
}
