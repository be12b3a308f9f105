#include "ca/CryptPacket.h"

#include <cstring>
#include <iterator>

#include "base/Encode.h"
#include "base/ErrorMessageHelper.h"
#include "base/Lng.h"
#include "base/Log.h"
#include "ca/RecordFactory.h"

namespace ca {

namespace {

void WriteNonEmpty(JsonWriter& writer, const char* key, const std::wstring& text) {
    if (!text.empty()) {
        WriteKey(writer, key);
        WriteWString(writer, text);
    }
}

void WriteBlob(JsonWriter& writer, const char* key, const Blob& blob) {
    if (blob.size != 0 && blob.data != nullptr) {
        WriteKey(writer, key);
        WriteBase64(writer, blob.data.get(), blob.size);
    }
}

// TextOf converts a string value (embedded NULs kept) or throws Exception(16300).
std::wstring TextOf(const JsonValue& value) {
    const char* text = ExpectString(value);
    return u8u16(text, value.GetStringLength());
}

// ReadFlag reads a bool key and records its presence in the mask.
void ReadFlag(const JsonValue& doc, const char* key, bool& field, uint32_t& mask, uint32_t bit) {
    if (ReadBool(doc, key, field)) {
        mask |= bit;
    }
}

void ReadNumber(const JsonValue& doc, const char* key, uint32_t& field, uint32_t& mask, uint32_t bit) {
    if (ReadUint(doc, key, field)) {
        mask |= bit;
    }
}

// AttachRawBytes takes the "fileDataSize" bytes that follow the JSON text's NUL, borrowed or copied
// (tail is null when the buffer holds no NUL).
void AttachRawBytes(SerializableContainer& container, const uint8_t* tail, size_t tailLength,
                    uint32_t dataSize, bool borrow) {
    if (tail == nullptr || dataSize > tailLength) {
        throw Exception(kNoDataInArgs);
    }
    container.SetObject(
        borrow ? FileData::Borrow(tail, dataSize) : std::make_unique<FileData>(tail, dataSize), true);
}

}  // namespace

CryptRequest::~CryptRequest() = default;

void CryptRequest::FromJson(char* text, uint32_t length) {
    const SFramedText split = SplitAtNul(text, length);
    FromJson(text, split.jsonLength, split.tail, split.tailLength);
}

void CryptRequest::FromHostBuffer(const char* buffer, uint32_t length) {
    const SFramedText split = SplitAtNul(buffer, length);
    SEncodedValue encoded;
    const bool lifted = FindEncodedFileData(buffer, split.jsonLength, encoded);
    // The private copy is the JSON less the base64 value, which is decoded from the host's buffer.
    const size_t kept = lifted ? split.jsonLength - encoded.length : split.jsonLength;
    MallocPtr text = AllocOrThrow(kept + 1);
    if (lifted) {
        std::memcpy(text.get(), buffer, encoded.at);
        std::memcpy(text.get() + encoded.at, buffer + encoded.at + encoded.length, kept - encoded.at);
        AttachEncodedFileData(buffer, encoded);
    } else if (kept != 0) {
        std::memcpy(text.get(), buffer, kept);
    }
    text[kept] = 0;
    _FromJson(buffer == nullptr ? nullptr : reinterpret_cast<char*>(text.get()), kept, split.tail,
              split.tailLength, true, lifted);
}

void CryptRequest::FromJson(char* json, size_t jsonLength, const uint8_t* tail, size_t tailLength,
                            bool borrowTail) {
    const bool lifted = json != nullptr && PreParseFileData(json, jsonLength);
    _FromJson(json, json == nullptr ? 0 : strnlen(json, jsonLength), tail, tailLength, borrowTail, lifted);
}

void CryptRequest::_FromJson(char* json, size_t jsonLength, const uint8_t* tail, size_t tailLength,
                             bool borrowTail, bool preParsed) {
    if (json == nullptr) {
        throw Exception(kJsonError);
    }
    char* const text = json;
    rapidjson::Document doc;
    ParseJson(doc, text, strnlen(text, jsonLength));
    if (!doc.IsObject()) {
        throw Exception(kJsonError);
    }
    ReadUint(doc, "mode", mode);
    ReadWString(doc, "extInitParams", extInitParams);
    ReadWString(doc, "clientId", clientId);
    ReadFlag(doc, "test", test, presenceMask, kBitTest);
    if (test) {
        return;  // a probe call: the rest of the document is not looked at
    }
    if (const JsonValue* sender = FindMember(doc, "senderCertId"); sender != nullptr && sender->IsString()) {
        senderCertId = u8u16(sender->GetString(), sender->GetStringLength());
    }
    ReadWString(doc, "recipientCertId", recipientCertId);
    ReadNumber(doc, "certInclude", certInclude, presenceMask, kBitCertInclude);
    ReadNumber(doc, "signerIndex", signerIndex, presenceMask, kBitSignerIndex);
    ReadFlag(doc, "isAttached", isAttached, presenceMask, kBitIsAttached);
    ReadFlag(doc, "needExtraction", needExtraction, presenceMask, kBitNeedExtraction);
    ReadFlag(doc, "addSigner", addSigner, presenceMask, kBitAddSigner);
    ReadFlag(doc, "streamFinalChunk", streamFinalChunk, presenceMask, kBitStreamFinalChunk);
    ReadNumber(doc, "streamId", streamId, presenceMask, kBitStreamId);
    ReadWString(doc, "comment", comment);
    ReadWString(doc, "uri", uri);

    if (const JsonValue* hashAlg = FindMember(doc, "hashAlg"); hashAlg != nullptr) {
        // The algorithm name travels as the bytes of its wide string, terminator included.
        const std::wstring name = TextOf(*hashAlg);
        const size_t bytes = (name.size() + 1) * sizeof(wchar_t);
        params.data = CopyBlob(reinterpret_cast<const uint8_t*>(name.c_str()), bytes);
        params.size = static_cast<uint32_t>(bytes);
    } else {
        ReadBase64(doc, "params", params);
    }

    if (!ReadBase64(doc, "sendSignData", sendSignData)) {
        if (const JsonValue* list = FindMember(doc, "signatures"); list != nullptr && list->IsArray()) {
            for (const JsonValue& item : list->GetArray()) {
                Blob blob;
                Base64Decode(ExpectString(item), blob.data, blob.size);
                signatures.push_back(std::move(blob));
            }
        }
    }

    if (!preParsed) {
        uint32_t dataSize = 0;
        if (const JsonValue* url = FindMember(doc, "fileDataUrl"); url != nullptr) {
            MallocPtr bytes;
            const auto download = EnvelopeHooks().download;
            if (download == nullptr) {
                throw Exception(kCurlInitError);
            }
            const uint32_t size = download(ExpectString(*url), bytes);
            SetObject(std::make_unique<FileData>(std::move(bytes), size), true);
        } else if (ReadUint(doc, "fileDataSize", dataSize)) {
            AttachRawBytes(*this, tail, tailLength, dataSize, borrowTail);
            binaryFileData = true;
        } else {
            static constexpr int kRequestRecords[] = {kTypeFileData, kTypeStoreAddress, kTypeStoreAddresses,
                                                      kTypeConfig, kTypePKIConfig};
            ReadRecords(doc, kRequestRecords, std::size(kRequestRecords), &CreateRecord);
        }
    }

    if (const JsonValue* stores = FindMember(doc, "currentStores"); stores != nullptr) {
        std::unique_ptr<ISerializable> record = CreateRecord(kTypeStoreAddresses);
        if (record != nullptr) {
            record->FromJson(*stores);
            currentStores = std::move(record);
        }
    }
    if (const JsonValue* url = FindMember(doc, "uploadUrl"); url != nullptr && !url->IsNull()) {
        uploadUrl = TextOf(*url);
    }
    ReadBool(doc, "redirected", redirected);
}

void CryptRequest::ToJson(rapidjson::StringBuffer& buffer) const {
    JsonWriter writer(buffer);
    writer.StartObject();
    WriteKey(writer, "mode");
    writer.Uint(mode);
    WriteNonEmpty(writer, "extInitParams", extInitParams);
    WriteNonEmpty(writer, "clientId", clientId);
    WriteNonEmpty(writer, "senderCertId", senderCertId);
    WriteNonEmpty(writer, "recipientCertId", recipientCertId);
    struct SFlag {
        uint32_t bit;
        const char* key;
        bool isNumber;
        bool CryptRequest::*flag;
        uint32_t CryptRequest::*number;
    };
    static constexpr SFlag kFlags[] = {
        {kBitTest, "test", false, &CryptRequest::test, nullptr},
        {kBitCertInclude, "certInclude", true, nullptr, &CryptRequest::certInclude},
        {kBitSignerIndex, "signerIndex", true, nullptr, &CryptRequest::signerIndex},
        {kBitIsAttached, "isAttached", false, &CryptRequest::isAttached, nullptr},
        {kBitNeedExtraction, "needExtraction", false, &CryptRequest::needExtraction, nullptr},
        {kBitAddSigner, "addSigner", false, &CryptRequest::addSigner, nullptr},
        {kBitStreamFinalChunk, "streamFinalChunk", false, &CryptRequest::streamFinalChunk, nullptr},
        {kBitStreamId, "streamId", true, nullptr, &CryptRequest::streamId},
    };
    for (const SFlag& f : kFlags) {
        if ((presenceMask & f.bit) == 0) {
            continue;
        }
        WriteKey(writer, f.key);
        if (f.isNumber) {
            writer.Uint(this->*f.number);
        } else {
            writer.Bool(this->*f.flag);
        }
    }
    WriteNonEmpty(writer, "comment", comment);
    WriteNonEmpty(writer, "uri", uri);
    WriteBlob(writer, "sendSignData", sendSignData);
    // Deliberate: a "hashAlg" read as text is written back as base64 of its wide-character bytes.
    WriteBlob(writer, mode == 56 ? "hashAlg" : "params", params);
    WriteNonEmpty(writer, "uploadUrl", uploadUrl);
    WriteKey(writer, "redirected");
    writer.Bool(redirected);
    WriteRecords(writer, binaryFileData, nullptr);
    writer.EndObject();
}

void CryptResponse::FromJson(char* text, uint32_t length) {
    const SFramedText split = SplitAtNul(text, length);
    rapidjson::Document doc;
    ParseJson(doc, text, split.jsonLength);
    if (!doc.IsObject()) {
        throw Exception(kJsonError);
    }
    ReadUint(doc, "errorCode", errorCode);
    ReadWString(doc, "errorMessage", errorMessage);
    ReadWString(doc, "needCertId", needCertId);
    ReadUint(doc, "streamId", streamId);
    ReadBool(doc, "isAttached", isAttached);
    ReadBase64(doc, "sendSignData", sendSignData);
    uint32_t dataSize = 0;
    if (ReadUint(doc, "fileDataSize", dataSize)) {
        AttachRawBytes(*this, split.tail, split.tailLength, dataSize, false);
        binaryFileData = true;
        return;
    }
    static constexpr int kResponseRecords[] = {
        kTypeFileData,      kTypeStores,   kTypeCertificates, kTypeCrl,          kTypeSignInfo,
        kTypeSignInfoArray, kTypeCertInfo, kTypeCertInfos,    kTypeStoreAddress, kTypeStoreAddresses,
        kTypeCrlInfo,       kTypeConfig,   kTypeVerifyResult};
    ReadRecords(doc, kResponseRecords, std::size(kResponseRecords), &CreateRecord);
}

void CryptResponse::ToJson(rapidjson::StringBuffer& buffer) const {
    JsonWriter writer(buffer);
    writer.StartObject();
    WriteKey(writer, "errorCode");
    writer.Uint(errorCode);
    WriteKey(writer, "errorMessage");
    WriteWString(writer, errorMessage);
    WriteNonEmpty(writer, "needCertId", needCertId);
    if (streamId != 0) {
        WriteKey(writer, "streamId");
        writer.Uint(streamId);
    }
    WriteBlob(writer, "sendSignData", sendSignData);
    WriteRecords(writer, binaryFileData, &isAttached);
    writer.EndObject();
}

void CryptPacket::UploadFileData(unsigned int timeout) {
    LogEventFmt(L"UploadFileData(%u)", false, timeout);
    const uint8_t* data = response.GetFileData();
    const uint32_t size = response.GetFileDataSize();
    if (request.uploadUrl.empty() || data == nullptr) {
        LogEvent(SetVALKOMessage(msg::kUploadNothing), false);
        response.errorCode = kUploadError;
        response.errorMessage = GetErrorMessage(kUploadError, false) + GetErrorMessage(kNoDataInArgs, false);
        return;
    }
    LogEventFmt(SetVALKOMessage(msg::kUploadStart), false, size, request.uploadUrl.c_str());
    MallocPtr answer;
    uint32_t answerSize = 0;
    std::string errorText;
    const auto upload = EnvelopeHooks().upload;
    const uint32_t result = upload == nullptr ? kCurlInitError
                                              : upload(u16u8(request.uploadUrl), static_cast<long>(timeout),
                                                       data, size, answer, answerSize, errorText);
    if (result != 0) {
        LogEventFmt(SetVALKOMessage(msg::kUploadFailed), false, result);
        response.errorCode = kUploadError;
        response.errorMessage = GetErrorMessage(kUploadError, false) + u8u16(errorText);
        LogEvent(response.errorMessage.c_str(), true);
        return;
    }
    LogEventFmt(SetVALKOMessage(msg::kUploadDone), false, answerSize);
    response.SetObject(std::make_unique<FileData>(std::move(answer), answerSize), true);
}

namespace {

// ReplaceFileData decodes the request's payload with the given armours and, when something was
// decoded, makes it the request's only record.
void ReplaceFileData(CryptRequest& request, const std::vector<TokenPair>& tokens) {
    MallocPtr decoded;
    uint32_t decodedSize = 0;
    if (DecodeBase64IfNeeded(request.GetFileData(), request.GetFileDataSize(), tokens, decoded,
                             decodedSize)) {
        request.SetObject(std::make_unique<FileData>(std::move(decoded), decodedSize), true);
    }
}

}  // namespace

void CryptPacket::CertBase64FormattedDecodeIfNeeded() { ReplaceFileData(request, {CERT_TOKEN}); }

void CryptPacket::EncBase64FormattedDecodeIfNeeded() {
    ReplaceFileData(request, {ENC_TOKEN, PKCS7_TOKEN, CMS_SIGN_TOKEN});
}

void CryptPacket::SignBase64FormattedDecodeIfNeeded() {
    const std::vector<TokenPair> tokens{PKCS7_SIGN_TOKEN, CMS_SIGN_TOKEN, PKCS7_TOKEN};
    if (request.isAttached && request.GetFileData() != nullptr) {
        ReplaceFileData(request, tokens);
        return;
    }
    MallocPtr decoded;
    uint32_t decodedSize = 0;
    if (DecodeBase64IfNeeded(request.sendSignData.data.get(), request.sendSignData.size, tokens, decoded,
                             decodedSize)) {
        request.sendSignData.data = std::move(decoded);
        request.sendSignData.size = decodedSize;
    }
}

}  // namespace ca
