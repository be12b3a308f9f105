#pragma once

// The record-field machinery of the info records: a record is mostly a table of JSON keys and the
// members behind them, written and read in table order.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "base/Encode.h"
#include "base/Exception.h"
#include "base/Json.h"
#include "ca/Serializable.h"

namespace ca {

// kMaxRecordNesting bounds the records read inside records of their own kind ("CoSigners",
// "IssuerCert"); deeper input throws Exception(16300).
constexpr size_t kMaxRecordNesting = 16;

// SField is one row of a record's key table: the JSON key and how the member behind it is written
// and read. The info records are mostly such a table, walked in order by WriteFields/ReadFields.
template <typename R>
struct SField {
    const char* key;
    void (*write)(const R& record, JsonWriter& writer);
    void (*read)(R& record, const JsonValue& value);  // null: the record reads this key itself
};

namespace fields {

template <typename T>
struct SMember;
template <typename R, typename M>
struct SMember<M R::*> {
    using Record = R;
};
template <auto member>
using RecordOf = typename SMember<decltype(member)>::Record;

template <typename T>
struct SIdentity {
    using Type = T;
};

template <typename T>
struct IsVector : std::false_type {};
template <typename T>
struct IsVector<std::vector<T>> : std::true_type {};
template <typename T>
struct IsOwned : std::false_type {};
template <typename T>
struct IsOwned<std::unique_ptr<T>> : std::true_type {};

// WriteValue writes one member by its type: wide string, unsigned, bool, a list as an array, and
// any record (held or owned) through its own ToJson.
template <typename T>
void WriteValue(JsonWriter& writer, const T& value) {
    if constexpr (std::is_same_v<T, std::wstring>) {
        WriteWString(writer, value);
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        writer.Uint(value);
    } else if constexpr (std::is_same_v<T, bool>) {
        writer.Bool(value);
    } else if constexpr (IsVector<T>::value) {
        writer.StartArray();
        for (const auto& element : value) {
            WriteValue(writer, element);
        }
        writer.EndArray();
    } else if constexpr (IsOwned<T>::value) {
        value->ToJson(writer);
    } else {
        value.ToJson(writer);
    }
}

// ReadValue is WriteValue's inverse; a JSON value of another type throws Exception(16300). A list
// is built aside and replaces the old one only when every element was read.
template <typename T>
void ReadValue(const JsonValue& json, T& value) {
    if constexpr (std::is_same_v<T, std::wstring>) {
        const char* text = ExpectString(json);
        value = u8u16(text, json.GetStringLength());
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        if (!json.IsUint()) {
            throw Exception(kJsonError);
        }
        value = json.GetUint();
    } else if constexpr (std::is_same_v<T, bool>) {
        if (!json.IsBool()) {
            throw Exception(kJsonError);
        }
        value = json.GetBool();
    } else if constexpr (IsVector<T>::value) {
        if (!json.IsArray()) {
            throw Exception(kJsonError);
        }
        T list(json.Size());
        for (rapidjson::SizeType i = 0; i < json.Size(); ++i) {
            ReadValue(json[i], list[i]);
        }
        value = std::move(list);
    } else if constexpr (IsOwned<T>::value) {
        auto record = std::make_unique<typename T::element_type>();
        record->FromJson(json);
        value = std::move(record);
    } else {
        value.FromJson(json);
    }
}

}  // namespace fields

// Field makes the row for a member: Field<&CertInfo2::id>("Id").
template <auto member>
constexpr SField<fields::RecordOf<member>> Field(const char* key) {
    using R = fields::RecordOf<member>;
    return {key, [](const R& record, JsonWriter& writer) { fields::WriteValue(writer, record.*member); },
            [](R& record, const JsonValue& value) { fields::ReadValue(value, record.*member); }};
}

// RecursiveField makes a row that is written like Field but read by the record itself, which
// carries the nesting depth.
template <auto member>
constexpr SField<fields::RecordOf<member>> RecursiveField(const char* key) {
    return {key, Field<member>(key).write, nullptr};
}

// WriteFields writes the rows' keys and values in table order into the open object.
template <typename R, size_t N>
void WriteFields(const typename fields::SIdentity<R>::Type& record, const SField<R> (&table)[N],
                 JsonWriter& writer) {
    for (const SField<R>& row : table) {
        WriteKey(writer, row.key);
        row.write(record, writer);
    }
}

// WriteObject writes the whole record as one object.
template <typename R, size_t N>
void WriteObject(const typename fields::SIdentity<R>::Type& record, const SField<R> (&table)[N],
                 JsonWriter& writer) {
    writer.StartObject();
    WriteFields(record, table, writer);
    writer.EndObject();
}

// ReadFields takes every key of the table that object holds; absent keys keep their values. Throws
// Exception(16300) when object is no object or a value has the wrong type.
template <typename R, size_t N>
void ReadFields(typename fields::SIdentity<R>::Type& record, const SField<R> (&table)[N],
                const JsonValue& object) {
    if (!object.IsObject()) {
        throw Exception(kJsonError);
    }
    for (const SField<R>& row : table) {
        const JsonValue* value = row.read == nullptr ? nullptr : FindMember(object, row.key);
        if (value != nullptr) {
            row.read(record, *value);
        }
    }
}

// CListRecord is a record that is nothing but a JSON array of Items (values or owned records), with
// the envelope type id kType. FromJson replaces the list only when every element was read; anything
// but an array of such elements throws Exception(16300).
template <typename Item, int kType>
class CListRecord : public ISerializable {
public:
    void ToJson(JsonWriter& writer) const override { fields::WriteValue(writer, items); }
    void FromJson(const JsonValue& value) override { fields::ReadValue(value, items); }
    int GetType() const override { return kType; }

    std::vector<Item> items;
};

}  // namespace ca
