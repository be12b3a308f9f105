// Many clients at once on one module: signing, streams, SetCert2, stores and bad requests mixed.
#include <atomic>
#include <thread>

#include "base/Encode.h"
#include "ses/Hasher.h"
#include "tests/support/HostModule.h"

namespace {

// SignedCrc tells whether an answer's container carries the CRC-64 of data.
bool SignedCrc(const std::string& json, const std::string& data) {
    Crc64Hash hash;
    hash.Compute(reinterpret_cast<const unsigned char*>(data.data()), static_cast<unsigned int>(data.size()));
    const size_t at = json.find("\"fileData\":\"");
    ca::MallocPtr out;
    uint32_t size = 0;
    if (at == std::string::npos) {
        return false;
    }
    ca::Base64Decode(json.substr(at + 12, json.find('"', at + 12) - at - 12).c_str(), out, size);
    return std::string(reinterpret_cast<const char*>(out.get()), size)
               .find("<CRC Set=\"st_1\">" + B64(std::string(hash.GetValue(), hash.GetValueLength())) +
                     "</CRC>") != std::string::npos;
}

// Every thread sends with the same "clientId": a client id is whatever a request says, so the
// module must keep one client's state whole under concurrent calls.
TEST(AbiStress, ConcurrentCallsOfOneClient) {
    CTempHome home;
    CHostModule host;
    ASSERT_EQ(
        host.Ask(R"({"mode":45,"fileData":")" + B64(R"({"ID":"base"})") + "\"}").find(R"("errorCode":0)"),
        1u);
    const std::string client = R"({"clientId":"shared",)";
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&host, &failures, &client, t] {
            auto expect = [&failures](bool ok) { failures += ok ? 0 : 1; };
            std::string own = "base";
            for (int i = 0; i < 250; ++i) {
                const std::string data = std::to_string(t) + "/" + std::to_string(i);
                expect(SignedCrc(host.Ask(client + R"("mode":14,"senderCertId":")" + own +
                                          R"(","fileData":")" + B64(data) + "\"}"),
                                 data));
                if (i % 50 == 0) {  // a certificate of its own, added while others sign
                    own = "cert-" + std::to_string(t) + "-" + std::to_string(i);
                    expect(host.Ask(R"({"mode":45,"clientId":"adder-)" + std::to_string(t) +
                                    R"(","fileData":")" + B64(R"({"ID":")" + own + R"("})") + "\"}")
                               .find(R"({"errorCode":0,)") == 0);
                }
                // A stream of two chunks; another thread's chunks never reach it.
                const std::string first =
                    host.Ask(client + R"("mode":53,"senderCertId":"base","fileData":")" + B64(data) + "\"}");
                const size_t at = first.find("\"streamId\":");
                expect(at != std::string::npos);
                const std::string id =
                    at == std::string::npos ? "0" : std::to_string(std::stoul(first.substr(at + 11)));
                expect(SignedCrc(host.Ask(client +
                                          R"("mode":53,"senderCertId":"base","streamFinalChunk":true,)"
                                          R"("streamId":)" +
                                          id + R"(,"fileData":")" + B64("#tail") + "\"}"),
                                 data + "#tail"));
                expect(
                    host.Ask(client + R"("mode":63,"streamFinalChunk":true,"fileData":")" + B64(data) + "\"}")
                        .find(R"({"errorCode":0,)") == 0);
                // The store choice, read back, and a bad request.
                expect(host.Ask(client + R"("mode":36,"storeAddresses":[{"name":"VALKOTempStore"},)"
                                         R"({"location":"sscu","name":"valkotempstore"}]})") ==
                       R"({"errorCode":0,"errorMessage":"DONE"})");
                expect(host.Ask(client + R"("mode":47})").find(R"({"errorCode":0,)") == 0);
                expect(host.Ask(i % 2 == 0 ? R"({"mode":99})" : R"({"mode":)").find(R"({"errorCode":163)") ==
                       0);
                if (i % 50 == 49) {
                    expect(host.Ask(client + R"("mode":61})") == R"({"errorCode":0,"errorMessage":"DONE"})");
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_NE(host.Ask(R"({"mode":38})").find("\"cert-7-200\""), std::string::npos);
    CLogScope::Clear();
}

}  // namespace
