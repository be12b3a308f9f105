#pragma once

#include <map>
#include <memory>
#include <string>

#include "base/Blob.h"
#include "base/Json.h"

namespace ca {

// ISerializable is the base of every record that travels in the request/response envelope.
class ISerializable {
public:
    virtual void FromJson(const JsonValue& value) = 0;
    virtual void ToJson(JsonWriter& writer) const = 0;
    virtual int GetType() const = 0;
    virtual std::wstring GetTagString() const { return {}; }
    virtual ~ISerializable() = default;
};

// Type ids of the envelope records; stags holds their JSON keys.
enum RecordType : int {
    kTypeFileData = 0,
    kTypeStores = 1,
    kTypeCertificates = 2,
    kTypeCrl = 3,
    kTypeSignInfo = 4,
    kTypeSignInfoArray = 5,
    kTypeCertInfo = 6,
    kTypeCertInfos = 7,
    kTypeStoreAddress = 8,
    kTypeStoreAddresses = 9,
    kTypeCrlInfo = 10,
    kTypeConfig = 11,
    kTypePKIConfig = 12,
    kTypeVerifyResult = 13,
    kTypeCMSInfo = 14,
    kTypeCertForCheck = 15,
    kTypeCertManChainStatus = 16,
    kTypeAttrCertInfo = 17,
};

extern const char* const stags[18];

// RecordFactoryFn gives an empty record for an envelope type id, or null for an id it does not read.
using RecordFactoryFn = std::unique_ptr<ISerializable> (*)(int type);

// FileData is the call's payload (type id 0, key "fileData", base64 in JSON). It owns its bytes, or
// borrows them from the host's request buffer for the duration of one call (never written to: the
// host's buffer may be read-only).
class FileData : public ISerializable {
public:
    FileData() = default;
    // Copies size bytes.
    FileData(const uint8_t* bytes, uint32_t inSize);
    // Takes ownership of a malloc'ed block.
    FileData(MallocPtr block, uint32_t inSize) : data(std::move(block)), size(inSize) {}
    // Borrow refers to bytes the caller keeps alive and unchanged while the record lives.
    static std::unique_ptr<FileData> Borrow(const uint8_t* bytes, uint32_t inSize);
    // WithHeadroom owns a block whose payload starts inHeadroom bytes in: room for the answer's JSON,
    // so that a large answer is sent from the block itself instead of a copy (TakeAnswerBlock).
    static std::unique_ptr<FileData> WithHeadroom(MallocPtr block, uint32_t inSize, uint32_t inHeadroom);

    void FromJson(const JsonValue& value) override;
    void ToJson(JsonWriter& writer) const override;
    int GetType() const override { return kTypeFileData; }

    // Bytes is the payload, owned or borrowed.
    const uint8_t* Bytes() const { return data != nullptr ? data.get() + _headroom : _borrowed; }
    // TakeAnswerBlock lays out "json NUL payload" in the owned block when its headroom holds the JSON
    // and its NUL (the payload moves down in place) and hands the block over; null otherwise.
    MallocPtr TakeAnswerBlock(const char* json, size_t jsonLength);
    // TakeOwned hands the payload over as an owned block (a copy when borrowed) and empties the
    // record.
    MallocPtr TakeOwned();
    void Reset();

    MallocPtr data;  // null when the bytes are borrowed
    uint32_t size = 0;

private:
    const uint8_t* _borrowed = nullptr;
    uint32_t _headroom = 0;
};

// SerializableContainer maps type ids to owned records, at most one per id.
class SerializableContainer {
public:
    // SetObject stores record under its type id, replacing (destroying) the one held there; with
    // clear set every record is destroyed first.
    void SetObject(std::unique_ptr<ISerializable> record, bool clear);
    ISerializable* GetObject(int type) const;
    const uint8_t* GetFileData() const;
    uint32_t GetFileDataSize() const;
    // PreParseFileData lifts a "fileDataEncodedSize" payload out of the raw request text
    // (text[0, length) must hold the JSON's terminating NUL). True when it attached the data.
    bool PreParseFileData(char* text, size_t length);
    // SEncodedValue is where a "fileDataEncodedSize" payload's base64 lies in a JSON text.
    struct SEncodedValue {
        size_t at = 0;      // offset of the first base64 character
        size_t length = 0;  // the declared size: the value's characters
    };
    // FindEncodedFileData locates that payload without changing text (json[0, jsonLength), NUL
    // not needed); false when the text does not carry one the pre-parse would lift.
    static bool FindEncodedFileData(const char* json, size_t jsonLength, SEncodedValue& value);
    // AttachEncodedFileData decodes the located payload from json (read in place, which may be the
    // host's read-only buffer) into the file-data record.
    void AttachEncodedFileData(const char* json, const SEncodedValue& value);
    void Clear() { objects.clear(); }
    const std::map<int, std::unique_ptr<ISerializable>>& Objects() const { return objects; }

protected:
    SerializableContainer() = default;
    ~SerializableContainer() = default;
    // WriteRecords writes the records in ascending id order; binaryFileData writes "fileDataSize"
    // instead of the file data, isAttached follows "signInfo".
    void WriteRecords(JsonWriter& writer, bool binaryFileData, const bool* isAttached) const;
    // ReadRecords reads the listed keys, each into a new record attached without clearing.
    void ReadRecords(const JsonValue& document, const int* types, size_t count, RecordFactoryFn create);

private:
    std::map<int, std::unique_ptr<ISerializable>> objects;
};

}  // namespace ca
