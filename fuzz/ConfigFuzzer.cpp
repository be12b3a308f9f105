// Feeds arbitrary bytes to the service configuration reader as the text of its file. A refusal
// says why, every number kept stays in its key's range, and the record writes JSON that reads
// back to the same JSON.
#include "config/ConfigFileParser.h"
#include "fuzz/FuzzTarget.h"

const char* const kFuzzTarget = "fuzz_config";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ca::ConfigFileParser config;
    std::wstring errorText;
    if (!config.ParseConfigText(std::string(reinterpret_cast<const char*>(data), size), errorText) &&
        errorText.empty()) {
        Fail("the text was refused without a reason");
    }
    for (const ca::SConfigKey& key : ca::kConfigKeys) {
        if (key.type == ca::ConfigKeyType::kInt &&
            (config.*key.intField < key.minValue || config.*key.intField > key.maxValue)) {
            Fail("a number outside its key's range was kept");
        }
    }
    // Our own JSON must read back; an exception here escapes as a finding.
    const std::string written = Json(config);
    rapidjson::Document document;
    ca::ParseJson(document, written.data(), written.size());
    ca::ConfigFileParser reread;
    reread.FromJson(document);
    if (Json(reread) != written) {
        Fail("JSON round trip differs");
    }
    return 0;
}
