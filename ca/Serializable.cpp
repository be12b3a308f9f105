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

std::unique_ptr<FileData> FileData::WithHeadroom(MallocPtr block, uint32_t inSize, uint32_t inHeadroom) {
    auto record = std::make_unique<FileData>(std::move(block), inSize);
    record->_headroom = inHeadroom;
    return record;
}

MallocPtr FileData::TakeOwned() {
    MallocPtr owned = data != nullptr && _headroom == 0 ? std::move(data) : CopyBlob(Bytes(), size);
    Reset();
    return owned;
}

MallocPtr FileData::TakeAnswerBlock(const char* json, size_t jsonLength) {
    if (data == nullptr || jsonLength + 1 > _headroom) {
        return nullptr;
    }
    uint8_t* block = data.get();
    std::memmove(block + jsonLength + 1, block + _headroom, size);
    std::memcpy(block, json, jsonLength);
    block[jsonLength] = 0;
    MallocPtr answer = std::move(data);
    Reset();
    return answer;
}

void FileData::Reset() {
    data.reset();
    _borrowed = nullptr;
    _headroom = 0;
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

bool SerializableContainer::FindEncodedFileData(const char* json, size_t jsonLength, SEncodedValue& value) {
    if (json == nullptr) {
        return false;
    }
    static constexpr char kKey[] = "fileData";
    static constexpr char kSuffix[] = "EncodedSize\":";
    static constexpr char kValueStart[] = "fileData\":\"";
    static constexpr size_t kMaxDigits = 32;  // a longer size field is no size at all

    const CByteReader text(reinterpret_cast<const uint8_t*>(json), jsonLength);
    const size_t keyAt = text.Find(kKey, sizeof(kKey) - 1);
    if (keyAt == CByteReader::npos) {
        return false;
    }
    CByteReader cursor = text;
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
    value.at = jsonLength - left;
    value.length = n;
    return true;
}

void SerializableContainer::AttachEncodedFileData(const char* json, const SEncodedValue& value) {
    MallocPtr bytes;
    uint32_t size = 0;
    Base64Decode(json + value.at, value.length, bytes, size);
    SetObject(std::make_unique<FileData>(std::move(bytes), size), true);
}

bool SerializableContainer::PreParseFileData(char* text, size_t length) {
    SEncodedValue value;
    const size_t jsonLength = text != nullptr ? strnlen(text, length) : 0;
    if (!FindEncodedFileData(text, jsonLength, value)) {
        return false;
    }
    AttachEncodedFileData(text, value);
    // Drop the base64 text: the closing quote and the rest of the JSON follow at once.
    std::memmove(text + value.at, text + value.at + value.length, jsonLength - value.at - value.length);
    text[jsonLength - value.length] = '\0';
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
