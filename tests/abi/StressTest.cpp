// Many clients at once on one module: signing, streams, SetCert2, stores and bad requests mixed.
#include <atomic>
#include <thread>

#include "base/Encode.h"
#include "ses/Hasher.h"
#include "tests/support/HostModule.h"

namespace {

std::string CrcElement(const std::string& data) {
    Crc64Hash hash;
    hash.Compute(reinterpret_cast<const unsigned char*>(data.data()), static_cast<unsigned int>(data.size()));
    return "<CRC Set=\"st_1\">" + B64(std::string(hash.GetValue(), hash.GetValueLength())) + "</CRC>";
}

std::string Container(const std::string& json) {
    const std::string key = "\"fileData\":\"";
    const size_t at = json.find(key);
    if (at == std::string::npos) {
        return {};
    }
    const std::string text = json.substr(at + key.size(), json.find('"', at + key.size()) - at - key.size());
    ca::MallocPtr out;
    uint32_t size = 0;
    ca::Base64Decode(text.c_str(), out, size);
    return std::string(reinterpret_cast<const char*>(out.get()), size);
}

// Every thread sends with the same "clientId": a client id is whatever a request says, so the
// module must keep one client's state whole under concurrent calls.
TEST(AbiStress, ConcurrentCallsOfOneClient) {
    CTempHome home;
    CHostModule host;
    ASSERT_EQ(
        host.Call(WithNul(R"({"mode":45,"fileData":")" + B64(R"({"ID":"base","Surname":"Base"})") + "\"}"))
            .json.find(R"("errorCode":0)"),
        1u);
    constexpr int kThreads = 8;
    constexpr int kRounds = 250;  // 8 threads x 250 rounds x ~9 requests
    const std::string client = R"("clientId":"shared")";
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&host, &failures, &client, t] {
            auto expect = [&failures](bool ok) { failures += ok ? 0 : 1; };
            std::string own = "base";
            for (int i = 0; i < kRounds; ++i) {
                const std::string data = std::to_string(t) + "/" + std::to_string(i);
                const std::string sign =
                    host.Call(WithNul(R"({"mode":14,)" + client + R"(,"senderCertId":")" + own +
                                      R"(","fileData":")" + B64(data) + "\"}"))
                        .json;
                expect(Container(sign).find(CrcElement(data)) != std::string::npos);
                if (i % 50 == 0) {  // a certificate of its own, added while others sign
                    own = "cert-" + std::to_string(t) + "-" + std::to_string(i);
                    const std::string add =
                        host.Call(WithNul(R"({"mode":45,"clientId":"adder-)" + std::to_string(t) +
                                          R"(","fileData":")" + B64(R"({"ID":")" + own + R"("})") + "\"}"))
                            .json;
                    expect(add.find(R"({"errorCode":0,)") == 0);
                }
                // A stream of two chunks; another thread's chunks never reach it.
                const std::string first =
                    host.Call(WithNul(R"({"mode":53,)" + client + R"(,"senderCertId":"base","fileData":")" +
                                      B64(data) + "\"}"))
                        .json;
                const size_t at = first.find("\"streamId\":");
                expect(at != std::string::npos);
                const std::string streamId =
                    at == std::string::npos ? "0" : std::to_string(std::stoul(first.substr(at + 11)));
                const std::string last =
                    host.Call(WithNul(R"({"mode":53,)" + client +
                                      R"(,"senderCertId":"base","streamFinalChunk":true,"streamId":)" +
                                      streamId + R"(,"fileData":")" + B64("#tail") + "\"}"))
                        .json;
                expect(Container(last).find(CrcElement(data + "#tail")) != std::string::npos);
                const std::string hash =
                    host.Call(WithNul(R"({"mode":63,)" + client + R"(,"streamFinalChunk":true,"fileData":")" +
                                      B64(data) + "\"}"))
                        .json;
                expect(hash.find(R"({"errorCode":0,)") == 0);
                // The store choice, read back, and a bad request.
                const std::string stores =
                    R"(,"storeAddresses":[{"name":"VALKOTempStore"},{"location":"sscu","name":"valkotempstore"}]})";
                expect(host.Call(WithNul(R"({"mode":36,)" + client + stores)).json ==
                       R"({"errorCode":0,"errorMessage":"DONE"})");
                expect(host.Call(WithNul(R"({"mode":47,)" + client + "}")).json.find(R"({"errorCode":0,)") ==
                       0);
                expect(host.Call(WithNul(i % 2 == 0 ? R"({"mode":99})" : R"({"mode":)"))
                           .json.find(R"({"errorCode":163)") == 0);
                if (i % 50 == 49) {
                    expect(host.Call(WithNul(R"({"mode":61,)" + client + "}")).json ==
                           R"({"errorCode":0,"errorMessage":"DONE"})");
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    const std::string certs = host.Call(WithNul(R"({"mode":38})")).json;
    EXPECT_NE(certs.find("\"cert-7-200\""), std::string::npos);
    CLogCapture::Clear();
}

}  // namespace
