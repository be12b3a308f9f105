// Store operations, SetCert2 and chunked streams through the C interface.
#include <chrono>
#include <thread>

#include "base/Encode.h"
#include "tests/support/HostModule.h"

namespace {

// StreamId reads "streamId" out of an answer, 0 when absent.
uint32_t StreamId(const std::string& json) {
    const size_t at = json.find("\"streamId\":");
    return at == std::string::npos ? 0 : static_cast<uint32_t>(std::stoul(json.substr(at + 11)));
}

constexpr const char* kCert = R"({"ID":"json-cert","Surname":"Json","GivenName":"Cert"})";

TEST(AbiStores, FixedAnswersOfTheStoreOperations) {
    CTempHome home;
    CHostModule host;
    const struct {
        const char* request;
        const char* answer;
    } cases[] = {
        {R"({"mode":37})", R"({"errorCode":0,"errorMessage":"DONE","stores":["MY"]})"},
        {R"({"mode":37,"storeAddress":{"location":"sscu","address":"","name":"MY"}})",
         R"({"errorCode":0,"errorMessage":"DONE","stores":["MY"]})"},
        {R"({"mode":37,"storeAddress":{"location":"remote","address":"h","name":"MY"}})",
         R"({"errorCode":16252,"errorMessage":"ERROR Wrong store address"})"},
        {R"({"mode":38,"storeAddress":{"location":"sslm","address":"a\\b","name":"MY"}})",
         R"({"errorCode":16252,"errorMessage":"ERROR Wrong store address"})"},
        {R"({"mode":38})", R"({"errorCode":0,"errorMessage":"DONE","certificates":[]})"},
        {R"({"mode":47})",
         R"({"errorCode":0,"errorMessage":"DONE","storeAddresses":[{"location":"","address":"","name":"VALKOTempStore"}]})"},
        {R"({"mode":36,"clientId":"c","storeAddresses":[{"location":"sscu","name":"MY"}]})",
         R"({"errorCode":16252,"errorMessage":"ERROR Wrong store address"})"},
        {R"({"mode":36,"clientId":"c","storeAddresses":[{"name":"VALKOTempStore"},{"name":"VALKOTempStore"}]})",
         R"({"errorCode":0,"errorMessage":"DONE"})"},
        {R"({"mode":36,"clientId":"c"})",
         R"({"errorCode":16252,"errorMessage":"ERROR Wrong store address"})"},
        {R"({"mode":35})", R"({"errorCode":0,"errorMessage":"DONE","fileData":""})"},
        {R"({"mode":21})", R"x({"errorCode":16118,"errorMessage":"ERROR No data in argument(s)"})x"},
        {R"({"mode":21,"fileData":"QQ=="})", R"({"errorCode":0,"errorMessage":"DONE"})"},
        {R"({"mode":22})", R"x({"errorCode":16118,"errorMessage":"ERROR No data in argument(s)"})x"},
        {R"({"mode":25})", R"({"errorCode":0,"errorMessage":"DONE"})"},
        {R"({"mode":65})", R"({"errorCode":0,"errorMessage":"DONE"})"},
        {R"({"mode":61,"clientId":"c"})", R"({"errorCode":0,"errorMessage":"DONE"})"},
        {R"({"mode":34,"senderCertId":"nobody"})",
         R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"nobody"})"},
        {R"({"mode":45,"fileData":"IA=="})",
         R"({"errorCode":16300,"errorMessage":"ERROR Error parsing JSON."})"},
        {R"({"mode":45,"fileData":"W10="})",
         R"({"errorCode":16300,"errorMessage":"ERROR Error parsing JSON."})"},
        {R"({"mode":37,"extInitParams":"FORCE_CERTINCLUDE=x"})",
         R"({"errorCode":16300,"errorMessage":"ERROR Error parsing JSON."})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.request);
        EXPECT_EQ(host.Call(WithNul(c.request)).json, c.answer);
    }
}

TEST(AbiStores, SetCert2MakesACertificateUsableForSigning) {
    CTempHome home;
    CHostModule host;
    const std::string added = host.Call(WithNul(R"({"mode":45,"fileData":")" + B64(kCert) + "\"}")).json;
    EXPECT_EQ(added.rfind(R"({"errorCode":0,"errorMessage":"DONE","certInfos":[{"Id":"json-cert",)", 0), 0u)
        << added;
    EXPECT_EQ(host.Call(WithNul(R"({"mode":38})")).json,
              R"({"errorCode":0,"errorMessage":"DONE","certificates":["json-cert"]})");
    const std::string signature =
        host.Call(WithNul(R"({"mode":14,"senderCertId":"json-cert","fileData":"QUJD"})")).json;
    EXPECT_EQ(signature.rfind(R"({"errorCode":0,"errorMessage":"DONE","fileData":")", 0), 0u);
    EXPECT_NE(host.Call(WithNul(R"({"mode":34,"senderCertId":"json-cert"})"))
                  .json.find(R"("Description":"SN=Json, G=Cert")"),
              std::string::npos);
    // A known identifier keeps its first record; the call still succeeds and describes what was sent.
    const std::string again = host.Call(WithNul(R"({"mode":45,"fileData":")" +
                                                B64(R"({"ID":"json-cert","Surname":"Other"})") + "\"}"))
                                  .json;
    EXPECT_NE(again.find(R"("Description":"SN=Other")"), std::string::npos);
    EXPECT_NE(host.Call(WithNul(R"({"mode":34,"senderCertId":"json-cert"})"))
                  .json.find(R"("Description":"SN=Json, G=Cert")"),
              std::string::npos);
}

std::string SetCert2(const std::string& client, const std::string& record) {
    return R"({"mode":45,"clientId":")" + client + R"(","fileData":")" + B64(record) + "\"}";
}

// TempStores lists n distinct spellings of the temporary store.
std::string TempStores(size_t n, size_t copies = 1) {
    std::string list;
    for (size_t i = 0; i < n; ++i) {
        for (size_t c = 0; c < copies; ++c) {
            list += (list.empty() ? "" : ",") + std::string(R"({"location":"sslm","address":"h)") +
                    std::to_string(i) + R"(","name":"VALKOTempStore"})";
        }
    }
    return R"({"mode":36,"clientId":"c","storeAddresses":[)" + list + "]}";
}

TEST(AbiStores, WhatAClientMaySendIsBounded) {
    CTempHome home;
    CHostModule host;
    const std::string ok = R"({"errorCode":0,"errorMessage":"DONE"})";
    const struct {
        std::string request;
        std::string answerStart;
    } cases[] = {
        {R"({"mode":37,"clientId":")" + std::string(256, 'c') + "\"}", R"({"errorCode":0,)"},
        {R"({"mode":37,"clientId":")" + std::string(257, 'c') + "\"}", R"({"errorCode":16300,)"},
        {SetCert2("f", R"({"ID":"long","Surname":")" + std::string(1025, 'x') + "\"}"),
         R"({"errorCode":16306,)"},
        {SetCert2("f", R"({"ID":"edge","Surname":")" + std::string(1024, 'x') + "\"}"), R"({"errorCode":0,)"},
        {TempStores(64), ok},
        {TempStores(65), R"({"errorCode":16252,)"},
        {TempStores(3, 1000), ok},  // duplicates are dropped before the bound is counted
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.request.substr(0, 60));
        EXPECT_EQ(host.Call(WithNul(c.request)).json.rfind(c.answerStart, 0), 0u);
    }
    // SetCert2 records live until CM_Free: bounded per client and for all clients together.
    size_t added = 1;  // "edge" above
    for (int client = 0; added < 256; ++client) {
        for (int i = 0; i < 16 && added < 256; ++i, ++added) {
            const std::string id = std::to_string(client) + "-" + std::to_string(i);
            ASSERT_EQ(host.Call(WithNul(SetCert2("k" + std::to_string(client), R"({"ID":")" + id + "\"}")))
                          .json.rfind(ok.substr(0, 15), 0),
                      0u)
                << id;
        }
    }
    EXPECT_EQ(
        host.Call(WithNul(SetCert2("k0", R"({"ID":"per-client"})"))).json.rfind(R"({"errorCode":16102,)", 0),
        0u);
    EXPECT_EQ(host.Call(WithNul(SetCert2("fresh", R"({"ID":"all-clients"})")))
                  .json.rfind(R"({"errorCode":16102,)", 0),
              0u);
}

TEST(AbiStores, StoreChoiceCostsGrowLinearly) {
    CTempHome home;
    CHostModule host;
    auto seconds = [&host](const std::string& request) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(host.Call(WithNul(request)).json, R"({"errorCode":0,"errorMessage":"DONE"})");
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const double small = seconds(TempStores(64, 10000 / 64));
    const double large = seconds(TempStores(64, 100000 / 64));
    EXPECT_LT(large, 30 * small + 0.05) << small << " s for 10k addresses, " << large << " s for 100k";
}

TEST(AbiStreams, ChunkedSigningEqualsOneShot) {
    CTempHome home;
    CHostModule host;
    host.Call(WithNul(R"({"mode":45,"fileData":")" + B64(kCert) + "\"}"));
    auto chunk = [&](uint32_t mode, uint32_t id, const std::string& bytes, bool final) {
        std::string request = R"({"mode":)" + std::to_string(mode) +
                              R"(,"senderCertId":"json-cert","streamId":)" + std::to_string(id) +
                              (final ? R"(,"streamFinalChunk":true)" : "") + R"(,"fileDataSize":)" +
                              std::to_string(bytes.size()) + "}";
        return host.Call(request + std::string(1, '\0') + bytes);
    };
    const SAnswer first = chunk(53, 0, "ab", false);
    const uint32_t id = StreamId(first.json);
    ASSERT_NE(id, 0u);
    EXPECT_EQ(StreamId(chunk(53, id, "", false).json), id);
    const SAnswer missing = host.Call(WithNul(R"({"mode":53,"streamId":)" + std::to_string(id) + "}"));
    EXPECT_EQ(missing.json,
              R"x({"errorCode":16118,"errorMessage":"ERROR No data in argument(s)","streamId":)x" +
                  std::to_string(id) + "}");
    EXPECT_EQ(StreamId(chunk(53, id, "cde", false).json), id);
    const SAnswer signedChunks = chunk(53, id, "", true);
    const std::string container(signedChunks.data.begin(), signedChunks.data.end());
    EXPECT_NE(container.find("<CRC Set=\"st_1\">" + B64(std::to_string(12054484311075249404ULL)) + "</CRC>"),
              std::string::npos)
        << signedChunks.json << container;

    // Verifying in chunks too; the stream closed, so a new id comes back.
    const std::string verifyHead = R"({"mode":54,"sendSignData":")" + B64(container) + R"(","streamId":)";
    const SAnswer v1 = host.Call(verifyHead + "0,\"fileDataSize\":3}" + std::string(1, '\0') + "abc");
    const uint32_t verifyId = StreamId(v1.json);
    EXPECT_NE(verifyId, 0u);
    const SAnswer v2 =
        host.Call(verifyHead + std::to_string(verifyId) + ",\"streamFinalChunk\":true,\"fileDataSize\":2}" +
                  std::string(1, '\0') + "de");
    EXPECT_NE(v2.json.find(R"("SignatureVerifyResult":0,)"), std::string::npos) << v2.json;

    // Hashing in chunks answers what CreateHash gives for the whole.
    const uint32_t hashId = StreamId(host.Call(WithNul(R"({"mode":63,"fileData":"MTIzNA=="})")).json);
    EXPECT_EQ(host.Call(WithNul(R"({"mode":63,"streamFinalChunk":true,"fileData":"NTY3ODk=","streamId":)" +
                                std::to_string(hashId) + "}"))
                  .json,
              R"({"errorCode":0,"errorMessage":"DONE","streamId":)" + std::to_string(hashId) +
                  R"(,"fileData":")" + B64("7800480153909949255") + "\"}");
}

}  // namespace
