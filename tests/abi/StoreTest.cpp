// Store operations, SetCert2, chunked streams and many calls at once, through the C interface.
#include <atomic>
#include <chrono>
#include <thread>

#include "base/Encode.h"
#include "ses/Hasher.h"
#include "tests/support/HostModule.h"

namespace {

constexpr const char* kDone = R"({"errorCode":0,"errorMessage":"DONE"})";
constexpr const char* kWrongStore = R"({"errorCode":16252,"errorMessage":"ERROR Wrong store address"})";
constexpr const char* kBadJson = R"({"errorCode":16300,"errorMessage":"ERROR Error parsing JSON."})";
constexpr const char* kNoData = R"x({"errorCode":16118,"errorMessage":"ERROR No data in argument(s)"})x";

// TempStores lists n distinct spellings of the temporary store, each copies times.
std::string TempStores(size_t n, size_t copies = 1) {
    std::string list;
    for (size_t i = 0; i < n * copies; ++i) {
        list += (list.empty() ? "" : ",") + std::string(R"({"location":"sslm","address":"h)") +
                std::to_string(i / copies) + R"(","name":"VALKOTempStore"})";
    }
    return R"({"mode":36,"clientId":"c","storeAddresses":[)" + list + "]}";
}

TEST(AbiStores, FixedAnswersOfTheStoreOperations) {
    CTempHome home;
    CHostModule host;
    const std::pair<const char*, const char*> cases[] = {
        {R"({"mode":37})", R"({"errorCode":0,"errorMessage":"DONE","stores":["MY"]})"},
        {R"({"mode":37,"storeAddress":{"location":"sscu","address":"","name":"MY"}})",
         R"({"errorCode":0,"errorMessage":"DONE","stores":["MY"]})"},
        {R"({"mode":37,"storeAddress":{"location":"remote","address":"h","name":"MY"}})", kWrongStore},
        {R"({"mode":38,"storeAddress":{"location":"sslm","address":"a\\b","name":"MY"}})", kWrongStore},
        {R"({"mode":38})", R"({"errorCode":0,"errorMessage":"DONE","certificates":[]})"},
        {R"({"mode":47})",
         R"({"errorCode":0,"errorMessage":"DONE","storeAddresses":[{"location":"","address":"","name":"VALKOTempStore"}]})"},
        {R"({"mode":36,"clientId":"c","storeAddresses":[{"location":"sscu","name":"MY"}]})", kWrongStore},
        {R"({"mode":36,"clientId":"c","storeAddresses":[{"name":"VALKOTempStore"},{"name":"VALKOTempStore"}]})",
         kDone},
        {R"({"mode":36,"clientId":"c"})", kWrongStore},
        {R"({"mode":35})", R"({"errorCode":0,"errorMessage":"DONE","fileData":""})"},
        {R"({"mode":21})", kNoData},
        {R"({"mode":21,"fileData":"QQ=="})", kDone},
        {R"({"mode":22})", kNoData},
        {R"({"mode":25})", kDone},
        {R"({"mode":65})", kDone},
        {R"({"mode":61,"clientId":"c"})", kDone},
        {R"({"mode":34,"senderCertId":"nobody"})",
         R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"nobody"})"},
        {R"({"mode":45,"fileData":"IA=="})", kBadJson},
        {R"({"mode":45,"fileData":"W10="})", kBadJson},
        {R"({"mode":37,"extInitParams":"FORCE_CERTINCLUDE=x"})", kBadJson}};
    for (const auto& [request, answer] : cases) {
        EXPECT_EQ(host.Ask(request), answer) << request;
    }
}

TEST(AbiStores, SetCert2MakesACertificateUsableForSigning) {
    CTempHome home;
    CHostModule host;
    EXPECT_THAT(host.Ask(SetCert2("c", R"({"ID":"json-cert","Surname":"Json","GivenName":"Cert"})")),
                StartsWith(R"({"errorCode":0,"errorMessage":"DONE","certInfos":[{"Id":"json-cert",)"));
    EXPECT_EQ(host.Ask(R"({"mode":38})"),
              R"({"errorCode":0,"errorMessage":"DONE","certificates":["json-cert"]})");
    EXPECT_THAT(host.Ask(R"({"mode":14,"senderCertId":"json-cert","fileData":"QUJD"})"),
                StartsWith(R"({"errorCode":0,"errorMessage":"DONE","fileData":")"));
    // A known identifier keeps its first record; the call still succeeds and describes what was sent.
    EXPECT_THAT(host.Ask(SetCert2("c", R"({"ID":"json-cert","Surname":"Other"})")),
                HasSubstr(R"("Description":"SN=Other")"));
    EXPECT_THAT(host.Ask(R"({"mode":34,"senderCertId":"json-cert"})"),
                HasSubstr(R"("Description":"SN=Json, G=Cert")"));
}

TEST(AbiStores, WhatAClientMaySendIsBounded) {
    CTempHome home;
    CHostModule host;
    const std::pair<std::string, const char*> cases[] = {
        {R"({"mode":37,"clientId":")" + std::string(256, 'c') + "\"}", R"({"errorCode":0,)"},
        {R"({"mode":37,"clientId":")" + std::string(257, 'c') + "\"}", R"({"errorCode":16300,)"},
        {SetCert2("f", R"({"ID":"long","Surname":")" + std::string(1025, 'x') + "\"}"),
         R"({"errorCode":16306,)"},
        {SetCert2("f", R"({"ID":"edge","Surname":")" + std::string(1024, 'x') + "\"}"), R"({"errorCode":0,)"},
        {TempStores(64), kDone},
        {TempStores(65), R"({"errorCode":16252,)"},
        {TempStores(3, 1000), kDone}};  // duplicates are dropped before the bound is counted
    for (const auto& [request, start] : cases) {
        EXPECT_THAT(host.Ask(request), StartsWith(start)) << request.substr(0, 60);
    }
    // SetCert2 records live until CM_Free: bounded per client and for all clients together.
    for (size_t added = 1; added < 256; ++added) {  // "edge" above was the first
        const std::string client = "k" + std::to_string(added / 16);
        ASSERT_THAT(host.Ask(SetCert2(client, R"({"ID":")" + std::to_string(added) + "\"}")),
                    StartsWith(R"({"errorCode":0,)"));
    }
    EXPECT_THAT(host.Ask(SetCert2("k1", R"({"ID":"per-client"})")), StartsWith(R"({"errorCode":16102,)"));
    EXPECT_THAT(host.Ask(SetCert2("fresh", R"({"ID":"all-clients"})")), StartsWith(R"({"errorCode":16102,)"));

    // Choosing stores costs linear time in the addresses sent: duplicates go through a hash set.
    auto seconds = [&host](const std::string& request) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(host.Ask(request), kDone);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const double small = seconds(TempStores(64, 10000 / 64));
    const double large = seconds(TempStores(64, 100000 / 64));
    EXPECT_LT(large, 30 * small + 0.05) << small << " s for 10k addresses, " << large << " s for 100k";
}

// Signing and verifying go in chunks alike, and a refused chunk still names its stream (what the chunks
// make is checked with the stream array, StreamTest).
TEST(AbiStreams, ChunksSignAndVerify) {
    CTempHome home;
    CHostModule host;
    host.Ask(SetCert2("c", R"({"ID":"json-cert"})"));
    const auto chunk = [&host](const std::string& head, uint32_t id, const std::string& bytes, bool final) {
        return host.Call(WithNul(head + R"(,"streamId":)" + std::to_string(id) +
                                 (final ? R"(,"streamFinalChunk":true)" : "") + R"(,"fileDataSize":)" +
                                 std::to_string(bytes.size()) + "}") +
                         bytes);
    };
    const std::string sign = R"({"mode":53,"senderCertId":"json-cert")";
    const uint32_t id = StreamId(chunk(sign, 0, "ab", false).json);
    ASSERT_NE(id, 0u);
    EXPECT_EQ(host.Ask(R"({"mode":53,"streamId":)" + std::to_string(id) + "}"),
              R"x({"errorCode":16118,"errorMessage":"ERROR No data in argument(s)","streamId":)x" +
                  std::to_string(id) + "}");
    const SAnswer last = chunk(sign, id, "cde", true);
    const std::string verify =
        R"({"mode":54,"sendSignData":")" + B64({last.data.begin(), last.data.end()}) + "\"";
    const uint32_t verifyId = StreamId(chunk(verify, 0, "abc", false).json);
    ASSERT_NE(verifyId, 0u);
    EXPECT_THAT(chunk(verify, verifyId, "de", true).json, HasSubstr(R"("SignatureVerifyResult":0,)"));
}

}  // namespace
