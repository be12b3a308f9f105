#include "module/RecordFactory.h"

#include <memory>
#include <string>
#include <vector>

#include "ca/RecordFactory.h"
#include "config/ConfigFileParser.h"
#include "config/Network.h"
#include "config/PKIConfigFileParser.h"

namespace ca {

namespace {

template <typename T>
std::unique_ptr<ISerializable> Make() {
    return std::make_unique<T>();
}

uint32_t Download(const std::string& url, MallocPtr& out) { return Http::GetBlob(url, out); }

uint32_t Upload(const std::string& url, long timeoutMs, const uint8_t* data, uint32_t size, MallocPtr& answer,
                uint32_t& answerSize, std::string& errorText) {
    static const std::vector<std::string> kHeaders{"Content-Type: application/octet-stream"};
    return Http::PostBlob(url, timeoutMs, kHeaders, data, size, answer, answerSize, errorText);
}

SEnvelopeHooks MakeHooks() {
    SEnvelopeHooks hooks;
    hooks.upperRecords[kTypeConfig] = &Make<ConfigFileParser>;
    hooks.upperRecords[kTypePKIConfig] = &Make<PKIConfigFileParser>;
    hooks.download = &Download;
    hooks.upload = &Upload;
    return hooks;
}

}  // namespace

void InstallModuleRecords() {
    static const SEnvelopeHooks hooks = MakeHooks();
    InstallEnvelopeHooks(&hooks);
}

}  // namespace ca
