// Feeds arbitrary bytes (JSON, NUL, raw data) to the response reader and the nested records it
// reaches. A response that reads is written back, framed as the module frames it, and reading
// that again must write the same JSON.
#include <string>
#include <vector>

#include "ca/CryptPacket.h"
#include "fuzz/FuzzTarget.h"
#include "module/RecordFactory.h"

const char* const kFuzzTarget = "fuzz_response";

namespace {

// Read fills response from buffer; false when the reader refuses it with a code.
bool Read(std::vector<char>& buffer, ca::CryptResponse& response) {
    try {
        response.FromJson(buffer.data(), static_cast<uint32_t>(buffer.size()));
        return true;
    } catch (const ca::Exception&) {
        return false;
    }
}

// Write gives response's JSON and the buffer the module would send: JSON, NUL and any raw bytes.
std::vector<char> Write(const ca::CryptResponse& response, std::string& json) {
    rapidjson::StringBuffer buffer;
    response.ToJson(buffer);
    json.assign(buffer.GetString(), buffer.GetSize());
    std::vector<char> framed(json.begin(), json.end());
    framed.push_back('\0');
    const uint8_t* bytes = response.GetFileData();
    if (response.binaryFileData && bytes != nullptr) {
        framed.insert(framed.end(), bytes, bytes + response.GetFileDataSize());
    }
    return framed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > UINT32_MAX) {
        return 0;
    }
    ca::InstallModuleRecords();                  // the "config" record comes from the layer above
    std::vector<char> input(data, data + size);  // the reader takes a writable buffer
    ca::CryptResponse response;
    if (!Read(input, response)) {
        return 0;
    }
    std::string json;
    std::vector<char> framed = Write(response, json);
    ca::CryptResponse reread;
    std::string again;
    if (!Read(framed, reread)) {
        Fail("a written response does not read back");
    }
    Write(reread, again);
    if (again != json) {
        Fail("JSON round trip differs");
    }
    return 0;
}
