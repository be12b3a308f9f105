#include "ca/Serializable.h"

#include <cstring>
#include <iterator>

#include "base/ByteReader.h"
#include "base/Encode.h"

namespace ca {

const char* const stags[18] = {
    "fileData",           "stores",         "certificates", "crl",
    "signInfo",           "signInfoArray",  "certInfo",     "certInfos",
    "storeAddress",       "storeAddresses", "crlInfo",      "config",
    "PKIConfig",          "verifyResult",   "CMSInfo",      "CertForCheck",
    "CertManChainStatus", "attrCertInfo",
};

FileData::FileData(const uint8_t* bytes, uint32_t inSize) : data(CopyBlob(bytes, inSize)), size(inSize) {}

std::unique_ptr<FileData> FileData::Borrow(const uint8_t* bytes, uint32_t inSize) {
    auto record = std::make_unique<FileData>();
    record->_borrowed = bytes;
    record->size = inSize;
    return record;
}

MallocPtr FileData::TakeOwned() {
    MallocPtr owned = data != nullptr ? std::move(data) : CopyBlob(_borrowed, size);
    Reset();
    return owned;
}

void FileData::Reset() {
    data.reset();
    _borrowed = nullptr;
    size = 0;
}

void FileData::FromJson(const JsonValue& value) {
    const char* text = ExpectString(value);
    Reset();
    Base64Decode(text, data, size);
}

void FileData::ToJson(JsonWriter& writer) const { WriteBase64(writer, Bytes(), size); }

void SerializableContainer::SetObject(std::unique_ptr<ISerializable> record, bool clear) {
    if (clear) {
        objects.clear();
    }
    if (record == nullptr) {
        return;
    }
    const int type = record->GetType();
    objects[type] = std::move(record);
}

ISerializable* SerializableContainer::GetObject(int type) const {
    const auto it = objects.find(type);
    return it == objects.end() ? nullptr : it->second.get();
}

const uint8_t* SerializableContainer::GetFileData() const {
    const auto* record = static_cast<const FileData*>(GetObject(kTypeFileData));
    return record == nullptr ? nullptr : record->Bytes();
}

uint32_t SerializableContainer::GetFileDataSize() const {
    const auto* record = static_cast<const FileData*>(GetObject(kTypeFileData));
    return record == nullptr ? 0 : record->size;
}

bool SerializableContainer::PreParseFileData(char* text, size_t length) {
    if (text == nullptr) {
        return false;
    }
    static constexpr char kKey[] = "fileData";
    static constexpr char kSuffix[] = "EncodedSize\":";
    static constexpr char kValueStart[] = "fileData\":\"";
    static constexpr size_t kMaxDigits = 32;  // a longer size field is no size at all

    const size_t jsonLength = strnlen(text, length);
    const CByteReader json(reinterpret_cast<const uint8_t*>(text), jsonLength);
    const size_t keyAt = json.Find(kKey, sizeof(kKey) - 1);
    if (keyAt == CByteReader::npos) {
        return false;
    }
    CByteReader cursor = json;
    if (!cursor.Skip(keyAt + sizeof(kKey) - 1) || !cursor.StartsWith(kSuffix, sizeof(kSuffix) - 1) ||
        !cursor.Skip(sizeof(kSuffix) - 1)) {
        return false;
    }
    const size_t comma = cursor.Find(",", 1);
    if (comma == CByteReader::npos || comma > kMaxDigits) {
        return false;
    }
    uint64_t declared = 0;
    for (size_t i = 0; i < comma && cursor.Data()[i] >= '0' && cursor.Data()[i] <= '9'; ++i) {
        declared = declared * 10 + static_cast<uint64_t>(cursor.Data()[i] - '0');
        if (declared > jsonLength) {
            return false;  // cannot fit in the text
        }
    }
    if (declared == 0 || !cursor.Skip(comma + 1)) {
        return false;
    }
    const size_t valueKey = cursor.Find(kValueStart, sizeof(kValueStart) - 1);
    if (valueKey == CByteReader::npos || !cursor.Skip(valueKey + sizeof(kValueStart) - 1)) {
        return false;
    }
    // The value and its closing quote must fit before the last character of the JSON text.
    const size_t n = static_cast<size_t>(declared);
    const size_t left = cursor.Left();
    if (left == 0 || n + 1 > left - 1) {
        return false;
    }
    char* value = text + (jsonLength - left);
    const char saved = value[n];
    value[n] = '\0';
    MallocPtr bytes;
    uint32_t size = 0;
    try {
        Base64Decode(value, bytes, size);
    } catch (...) {
        value[n] = saved;
        throw;
    }
    value[n] = '"';
    SetObject(std::make_unique<FileData>(std::move(bytes), size), true);
    // Drop the base64 text, closing quote and the rest of the JSON follow at once.
    std::memmove(value, value + n, left - n);
    value[left - n] = '\0';
    return true;
}

void SerializableContainer::WriteRecords(JsonWriter& writer, bool binaryFileData,
                                         const bool* isAttached) const {
    for (const auto& [type, record] : objects) {
        if (binaryFileData && type == kTypeFileData) {
            WriteKey(writer, "fileDataSize");
            writer.Uint(static_cast<const FileData*>(record.get())->size);
            continue;
        }
        if (type < 0 || static_cast<size_t>(type) >= std::size(stags)) {
            continue;
        }
        WriteKey(writer, stags[type]);
        record->ToJson(writer);
        if (type == kTypeSignInfo && isAttached != nullptr) {
            WriteKey(writer, "isAttached");
            writer.Bool(*isAttached);
        }
    }
}

void SerializableContainer::ReadRecords(const JsonValue& document, const int* types, size_t count,
                                        RecordFactoryFn create) {
    for (size_t i = 0; i < count; ++i) {
        const JsonValue* value = FindMember(document, stags[types[i]]);
        if (value == nullptr) {
            continue;
        }
        std::unique_ptr<ISerializable> record = create(types[i]);
        if (record == nullptr) {
            continue;
        }
        ISerializable* filled = record.get();
        SetObject(std::move(record), false);
        filled->FromJson(*value);
    }
}

}  // namespace ca
