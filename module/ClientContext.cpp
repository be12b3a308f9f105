#include "module/ClientContext.h"

#include <algorithm>

#include "config/InitStringParser.h"
#include "module/SesModule.h"

std::shared_ptr<CClientContext> CClientContextArray::AcquireContext(const std::wstring& clientId) {
    if (static_cast<uint32_t>(clock() - lastCleanup.load()) > kSweepInterval) {
        RemoveOld();  // takes the lock itself
        lastCleanup.store(clock());
    }
    std::lock_guard<std::mutex> guard(lock);
    for (const auto& context : contexts) {
        if (context->clientId == clientId) {
            context->lastUsed.store(clock());
            return context;
        }
    }
    contexts.push_back(std::make_shared<CClientContext>(clientId, clock()));
    return contexts.back();
}

void CClientContextArray::Remove(const std::wstring& clientId) {
    std::lock_guard<std::mutex> guard(lock);
    const auto it = std::find_if(contexts.begin(), contexts.end(),
                                 [&clientId](const auto& context) { return context->clientId == clientId; });
    if (it != contexts.end()) {
        contexts.erase(it);
    }
}

void CClientContextArray::RemoveOld() {
    std::lock_guard<std::mutex> guard(lock);
    const uint32_t now = clock();
    contexts.erase(std::remove_if(contexts.begin(), contexts.end(),
                                  [now](const auto& context) {
                                      return static_cast<uint32_t>(now - context->lastUsed.load()) > kMaxIdle;
                                  }),
                   contexts.end());
}

void CClientContextArray::CleanUp() {
    std::lock_guard<std::mutex> guard(lock);
    contexts.clear();
}

size_t CClientContextArray::Count() const {
    std::lock_guard<std::mutex> guard(lock);
    return contexts.size();
}

CCallContext::CCallContext(ca::CryptPacket& inPacket, CSesModule* module) : packet(inPacket) {
    _Build(module);
    packet.callContext = this;  // linked only once fully built
}

void CCallContext::_Build(CSesModule* module) {
    const ca::CryptRequest& request = packet.request;
    if (request.test) {
        return;
    }
    switch (request.mode) {
        case 11:
        case 24:
        case 42:
        case 43:
            return;  // these modes need no client context
        default:
            break;
    }
    initString = request.extInitParams;
    if (!initString.empty() && initString.back() != L';') {
        initString += L';';
    }
    initString += L"TSP_INET_TIMEOUT=" + std::to_wstring(static_cast<unsigned long>(module->config.tspTimeout)) + L";";
    if (module->serviceMode) {
        initString += L"SERVICE_MODE=TRUE;";
    }
    const ca::InitStringParser parser(initString.c_str());
    parser.Lookup(ca::InitStringParameter::DESCRIPTIONFORMAT, descriptionFormat);
    parser.Lookup(ca::InitStringParameter::CERT_FILTER, certFilter);
    std::wstring force;
    if (parser.Lookup(ca::InitStringParameter::FORCE_CERTINCLUDE, force)) {
        forceCertInclude = std::stoi(force);
    }
    context = module->contexts.AcquireContext(request.clientId);
}

CCallContext::~CCallContext() { packet.callContext = nullptr; }
