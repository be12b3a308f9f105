#include "mod_ses.h"

#include <cstddef>
#include <memory>
#include <new>

#include "module/SesModule.h"

static_assert(offsetof(CMPacket, request) == 16 && offsetof(CMPacket, requestLength) == 24 &&
                  offsetof(CMPacket, isLocal) == 28 && offsetof(CMPacket, response) == 32 &&
                  offsetof(CMPacket, responseSize) == 40 && sizeof(CMPacket) == 48,
              "host ABI");

extern "C" CM_EXPORT void* CM_Init(bool serviceMode, CMLogCallback logCallback) {
    // Nothing may escape to the host: a failed start-up is a null module.
    try {
        auto module = std::make_unique<CSesModule>(serviceMode);
        if (!module->Init(logCallback)) {
            return nullptr;
        }
        return module.release();
    } catch (...) {
        return nullptr;
    }
}

extern "C" CM_EXPORT void CM_ProcessClientRequest(void* module, CMPacket* packet) {
    if (module == nullptr || packet == nullptr) {
        return;
    }
    // ProcessJson turns every exception into an answer: nothing crosses the C boundary.
    static_cast<CSesModule*>(module)->ProcessJson(*packet);
}

extern "C" CM_EXPORT void CM_Free(void* module) {
    // The destructor releases contexts, streams and certificates; it does not throw.
    delete static_cast<CSesModule*>(module);
}
