#include "tools/sestool/RequestJson.h"

namespace sestool {

namespace {

// The longest input whose base64 text still fits a JSON string's 32-bit length.
constexpr uint64_t kMaxBase64Input = (UINT32_MAX / 4) * 3;

constexpr const char* kClientId = "sestool";

}  // namespace

CRequestJson::CRequestJson(uint32_t mode) : _mode(mode), _writer(_members) { _writer.StartObject(); }

void CRequestJson::Text(const char* key, const std::string& utf8) {
    _writer.Key(key);
    _writer.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

void CRequestJson::Flag(const char* key, bool value) {
    _writer.Key(key);
    _writer.Bool(value);
}

bool CRequestJson::Bytes(const char* key, const std::vector<uint8_t>& bytes) {
    if (bytes.size() > kMaxBase64Input) {
        return false;
    }
    _writer.Key(key);
    ca::WriteBase64(_writer, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return true;
}

std::string CRequestJson::Finish(const uint64_t* fileDataSize) const {
    return _Compose(_mode, true,
                    fileDataSize != nullptr ? ",\"fileDataSize\":" + std::to_string(*fileDataSize) : "");
}

std::string CRequestJson::FinishChunk(uint32_t streamMode, uint32_t streamId, bool final,
                                      uint64_t fileDataSize) const {
    std::string tail;
    if (streamId != 0) {
        tail += ",\"streamId\":" + std::to_string(streamId);
    }
    if (final) {
        tail += ",\"streamFinalChunk\":true";
    }
    tail += ",\"fileDataSize\":" + std::to_string(fileDataSize);
    return _Compose(streamMode, final, tail);
}

std::string CRequestJson::_Compose(uint32_t mode, bool withMembers, const std::string& tail) const {
    std::string json = "{\"mode\":" + std::to_string(mode) + ",\"clientId\":\"" + kClientId + "\"";
    // The writer has the object open: "{" and the members, without the closing brace.
    if (withMembers && _members.GetSize() > 1) {
        json += ',';
        json.append(_members.GetString() + 1, _members.GetSize() - 1);
    }
    json += tail;
    json += '}';
    return json;
}

}  // namespace sestool
