#pragma once

// Building the JSON of one request, whole or as the calls of a stream.
#include <cstdint>
#include <string>
#include <vector>

#include "base/Json.h"

namespace sestool {

// CRequestJson writes one request object: "mode", "clientId" "sestool", then the members added.
class CRequestJson {
public:
    explicit CRequestJson(uint32_t mode);

    uint32_t Mode() const { return _mode; }
    void Text(const char* key, const std::string& utf8);
    void Flag(const char* key, bool value);
    // Bytes writes base64 text; false when the text would not fit a JSON string (3 GiB and more).
    [[nodiscard]] bool Bytes(const char* key, const std::vector<uint8_t>& bytes);
    // Finish gives the request, with "fileDataSize" last when fileDataSize is given.
    std::string Finish(const uint64_t* fileDataSize) const;
    // FinishChunk gives one call of a stream in streamMode: "streamId" unless 0 (a new stream), and
    // "fileDataSize". Only the final chunk carries the members added, and "streamFinalChunk" true.
    std::string FinishChunk(uint32_t streamMode, uint32_t streamId, bool final, uint64_t fileDataSize) const;

private:
    std::string _Compose(uint32_t mode, bool withMembers, const std::string& tail) const;

    uint32_t _mode;
    rapidjson::StringBuffer _members;  // "{" and the members added, comma-separated
    ca::JsonWriter _writer;
};

}  // namespace sestool
