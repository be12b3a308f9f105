#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "base/Blob.h"
#include "ca/Serializable.h"

class CCallContext;

namespace ca {

class StoreAddresses;

// Request flags present in the JSON, bit by bit (presenceMask).
enum RequestBit : uint32_t {
    kBitTest = 1u << 0,
    kBitIsAttached = 1u << 1,
    kBitNeedExtraction = 1u << 2,
    kBitAddSigner = 1u << 3,
    kBitStreamFinalChunk = 1u << 4,
    kBitCertInclude = 1u << 5,
    kBitSignerIndex = 1u << 6,
    kBitStreamId = 1u << 7,
};

// CryptRequest is one host request: scalar fields, byte buffers and records by type id.
class CryptRequest : public SerializableContainer {
public:
    CryptRequest() = default;
    ~CryptRequest();
    CryptRequest(const CryptRequest&) = delete;
    CryptRequest& operator=(const CryptRequest&) = delete;

    // FromJson reads text[0, length): JSON, NUL, optional raw bytes. The text is modified in place
    // by the "fileDataEncodedSize" pre-parse. Throws Exception (16300 invalid JSON or a mistyped
    // value, 16118 a "fileDataSize" beyond the buffer, base64 and download codes).
    void FromJson(char* text, uint32_t length);
    // The same over a JSON text of jsonLength bytes (json[jsonLength] readable) whose raw bytes lie
    // elsewhere: tail is null when the buffer had no NUL after the JSON.
    // borrowTail lends the raw bytes to the request uncopied: the caller keeps tail alive and unchanged
    // until the request is destroyed (the module does, for one call); otherwise they are copied.
    void FromJson(char* json, size_t jsonLength, const uint8_t* tail, size_t tailLength,
                  bool borrowTail = false);
    // FromHostBuffer reads a host's request buffer, which it never writes: raw bytes are borrowed
    // (the buffer must outlive the request), a "fileDataEncodedSize" payload is decoded where it
    // lies, and only the JSON around it is copied for parsing.
    void FromHostBuffer(const char* buffer, uint32_t length);
    // ToJson appends the request's JSON text.
    void ToJson(rapidjson::StringBuffer& buffer) const;

    uint32_t presenceMask = 0;
    uint32_t mode = 0;
    bool test = false;
    bool isAttached = false;
    bool needExtraction = false;
    bool addSigner = false;
    bool streamFinalChunk = false;
    uint32_t certInclude = 0;
    uint32_t signerIndex = 0;
    uint32_t streamId = 0;
    bool binaryFileData = false;
    std::wstring clientId;
    std::wstring extInitParams;
    std::wstring senderCertId;
    std::wstring recipientCertId;
    std::wstring comment;
    std::wstring uri;
    std::wstring uploadUrl;
    Blob sendSignData;
    Blob params;
    bool redirected = false;
    std::unique_ptr<ISerializable> currentStores;  // a StoreAddresses record, kept outside the map
    std::list<Blob> signatures;

private:
    // _FromJson reads the keys of json; preParsed: the file data is attached already.
    void _FromJson(char* json, size_t jsonLength, const uint8_t* tail, size_t tailLength, bool borrowTail,
                   bool preParsed);
};

// CryptResponse is the answer being built for one call.
class CryptResponse : public SerializableContainer {
public:
    CryptResponse() = default;
    ~CryptResponse() = default;
    CryptResponse(const CryptResponse&) = delete;
    CryptResponse& operator=(const CryptResponse&) = delete;

    // FromJson reads an answer buffer (JSON, NUL, optional raw bytes). Throws Exception(16300/16118).
    void FromJson(char* text, uint32_t length);
    void ToJson(rapidjson::StringBuffer& buffer) const;

    uint32_t errorCode = 0;
    std::wstring errorMessage;
    std::wstring needCertId;
    bool isAttached = false;
    uint32_t streamId = 0;
    bool binaryFileData = false;
    Blob sendSignData;
};

// CryptPacket is what one call works on: the parsed request and the response being built.
class CryptPacket {
public:
    // UploadFileData posts the response's file data to the request's "uploadUrl"; failures become
    // response code 16305, never exceptions.
    void UploadFileData(unsigned int timeout);

    // The decoders turn an armoured or bare base64 payload of the request into raw bytes in place.
    void CertBase64FormattedDecodeIfNeeded();
    void EncBase64FormattedDecodeIfNeeded();
    void SignBase64FormattedDecodeIfNeeded();

    CryptRequest request;
    CryptResponse response;
    CCallContext* callContext = nullptr;  // set for the duration of a call
};

}  // namespace ca
