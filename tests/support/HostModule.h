#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "mod_ses.h"
#include "tests/support/TestSupport.h"

// WithNul frames a JSON text the way hosts send it: the text and its NUL.
inline std::string WithNul(const std::string& json) { return json + std::string(1, '\0'); }

// SetCert2 is the request that adds the certificate record (JSON) for client.
inline std::string SetCert2(const std::string& client, const std::string& record) {
    return R"({"mode":45,"clientId":")" + client + R"(","fileData":")" + B64(record) + "\"}";
}

// StreamId reads "streamId" out of an answer, 0 when absent.
inline uint32_t StreamId(const std::string& json) {
    const size_t at = json.find("\"streamId\":");
    return at == std::string::npos ? 0 : static_cast<uint32_t>(std::stoul(json.substr(at + 11)));
}

// CHostModule drives libmod_ses.so.1 the way a host does: dlopen, three dlsym, CM_Init.
class CHostModule {
public:
    explicit CHostModule(bool serviceMode = true) {
        _library = dlopen(SES_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
        if (_library == nullptr) {
            ADD_FAILURE() << dlerror();
            return;
        }
        init = reinterpret_cast<decltype(&CM_Init)>(dlsym(_library, "CM_Init"));
        process =
            reinterpret_cast<decltype(&CM_ProcessClientRequest)>(dlsym(_library, "CM_ProcessClientRequest"));
        release = reinterpret_cast<decltype(&CM_Free)>(dlsym(_library, "CM_Free"));
        CLogScope::Clear();
        module = init(serviceMode, &CLogScope::Capture);
    }
    ~CHostModule() {
        if (module != nullptr) {
            release(module);
        }
        if (_library != nullptr) {
            dlclose(_library);
        }
    }
    CHostModule(const CHostModule&) = delete;
    CHostModule& operator=(const CHostModule&) = delete;

    // Call sends the buffer as is (requestLength = its size) and splits the answer.
    SAnswer Call(const std::string& buffer, bool isLocal = true) const {
        CMPacket packet{};
        packet.reserved[0] = 0x1111;
        packet.reserved[1] = 0x2222;
        packet.request = buffer.data();
        packet.requestLength = static_cast<uint32_t>(buffer.size());
        packet.isLocal = isLocal;
        process(module, &packet);
        EXPECT_EQ(packet.reserved[0], 0x1111u);
        EXPECT_EQ(packet.reserved[1], 0x2222u);
        return Split(packet);
    }

    // Ask sends one JSON request with its NUL and returns the answer's JSON.
    std::string Ask(const std::string& json, bool isLocal = true) const {
        return Call(WithNul(json), isLocal).json;
    }

    static SAnswer Split(CMPacket& packet) {
        SAnswer answer;
        if (packet.response == nullptr) {
            ADD_FAILURE() << "no response";
            return answer;
        }
        answer.json = packet.response;  // ends at the NUL, which is always present
        answer.responseSize = packet.responseSize;
        if (packet.responseSize > answer.json.size()) {
            const auto* data = reinterpret_cast<const uint8_t*>(packet.response) + answer.json.size() + 1;
            answer.data.assign(data, data + (packet.responseSize - answer.json.size() - 1));
        }
        free(packet.response);
        return answer;
    }

    void* module = nullptr;
    decltype(&CM_Init) init = nullptr;
    decltype(&CM_ProcessClientRequest) process = nullptr;
    decltype(&CM_Free) release = nullptr;

private:
    void* _library = nullptr;
};
