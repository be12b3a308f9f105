#include "module/ClientContext.h"

#include <cerrno>
#include <climits>
#include <cwchar>
#include <vector>

#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "base/Modes.h"
#include "config/InitStringParser.h"

ca::StoreAddresses CClientContext::CurrentStores() const {
    std::lock_guard<std::mutex> guard(_lock);
    return _currentStores;
}

void CClientContext::SetCurrentStores(ca::StoreAddresses stores) {
    std::lock_guard<std::mutex> guard(_lock);
    _currentStores.items.swap(stores.items);
}

bool CClientContext::CountAddedCertificate() {
    std::lock_guard<std::mutex> guard(_lock);
    if (_addedCertificates >= kMaxAddedCertificates) {
        return false;
    }
    ++_addedCertificates;
    return true;
}

std::shared_ptr<CClientContext> CClientContextArray::AcquireContext(const std::wstring& clientId) {
    if (clientId.size() > kMaxClientIdLength) {
        throw ca::Exception(ca::kJsonError);
    }
    std::vector<std::shared_ptr<CClientContext>> removed;  // destroyed after the lock is released
    std::lock_guard<std::mutex> guard(lock);
    const uint32_t now = sweep.Now();
    if (sweep.Due(now)) {
        _RemoveOld(removed);
    }
    if (const auto found = index.find(clientId); found != index.end()) {
        contexts.splice(contexts.begin(), contexts, found->second);
        (*found->second)->lastUsed.store(sweep.Now());
        return *found->second;
    }
    if (contexts.size() >= kMaxContexts) {
        removed.push_back(std::move(contexts.back()));
        index.erase(removed.back()->clientId);
        contexts.pop_back();
    }
    contexts.push_front(std::make_shared<CClientContext>(clientId, sweep.Now()));
    index.emplace(clientId, contexts.begin());
    return contexts.front();
}

void CClientContextArray::Remove(const std::wstring& clientId) {
    std::shared_ptr<CClientContext> removed;
    std::lock_guard<std::mutex> guard(lock);
    if (const auto found = index.find(clientId); found != index.end()) {
        removed = std::move(*found->second);
        contexts.erase(found->second);
        index.erase(found);
    }
}

void CClientContextArray::RemoveOld() {
    std::vector<std::shared_ptr<CClientContext>> removed;
    std::lock_guard<std::mutex> guard(lock);
    _RemoveOld(removed);
}

void CClientContextArray::_RemoveOld(std::vector<std::shared_ptr<CClientContext>>& removed) {
    const uint32_t now = sweep.Now();
    // The whole list is walked: a clock set back can leave an idle context ahead of a fresh one.
    for (auto it = contexts.begin(); it != contexts.end();) {
        if (ca::CIdleSweep::IsIdle(now, (*it)->lastUsed.load())) {
            index.erase((*it)->clientId);
            removed.push_back(std::move(*it));
            it = contexts.erase(it);
        } else {
            ++it;
        }
    }
}

void CClientContextArray::CleanUp() {
    std::lock_guard<std::mutex> guard(lock);
    index.clear();
    contexts.clear();
}

size_t CClientContextArray::Count() const {
    std::lock_guard<std::mutex> guard(lock);
    return contexts.size();
}

namespace {

// ParseForceCertInclude reads FORCE_CERTINCLUDE: a base-10 number that fits 32 signed bits, with
// optional leading blanks and sign, as std::stoi takes it; anything else is a bad request.
int32_t ParseForceCertInclude(const std::wstring& text) {
    const wchar_t* begin = text.c_str();
    wchar_t* end = nullptr;
    errno = 0;
    const long value = std::wcstol(begin, &end, 10);
    if (end == begin || errno == ERANGE || value < INT32_MIN || value > INT32_MAX) {
        throw ca::Exception(ca::kJsonError);
    }
    return static_cast<int32_t>(value);
}

}  // namespace

CCallContext::CCallContext(ca::CryptPacket& inPacket, const ca::CryptoModule& module,
                           CClientContextArray& contexts)
    : packet(inPacket) {
    _Build(module, contexts);
    packet.callContext = this;  // linked only once fully built
}

void CCallContext::_Build(const ca::CryptoModule& module, CClientContextArray& contexts) {
    const ca::CryptRequest& request = packet.request;
    if (request.test) {
        return;
    }
    switch (request.mode) {
        case ca::kModeNoOp11:
        case ca::kModeNoOp24:
        case ca::kModeNoOp42:
        case ca::kModeUnsupported43:
            return;  // these modes need no client context
        default:
            break;
    }
    initString = request.extInitParams;
    if (!initString.empty() && initString.back() != L';') {
        initString += L';';
    }
    initString +=
        L"TSP_INET_TIMEOUT=" + std::to_wstring(static_cast<unsigned long>(module.config.tspTimeout)) + L";";
    if (module.serviceMode) {
        initString += L"SERVICE_MODE=TRUE;";
    }
    const ca::InitStringParser parser(initString.c_str());
    parser.Lookup(ca::InitStringParameter::DESCRIPTIONFORMAT, descriptionFormat);
    parser.Lookup(ca::InitStringParameter::CERT_FILTER, certFilter);
    std::wstring force;
    if (parser.Lookup(ca::InitStringParameter::FORCE_CERTINCLUDE, force)) {
        forceCertInclude = ParseForceCertInclude(force);
    }
    context = contexts.AcquireContext(request.clientId);
}

CCallContext::~CCallContext() { packet.callContext = nullptr; }
