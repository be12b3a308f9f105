// Signing and verification end to end through the C interface, with certificates in a temporary HOME.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "base/Encode.h"
#include "base/FileUtil.h"
#include "ses/SesContainer.h"
#include "tests/support/HostModule.h"

namespace {

// Member is the text of a top-level member of a JSON answer (strings unquoted), or "<absent>".
std::string Member(const std::string& answer, const char* key) {
    rapidjson::Document doc;
    doc.Parse(answer.c_str());  // the JSON ends at the NUL
    if (!doc.IsObject() || !doc.HasMember(key)) {
        return "<absent>";
    }
    return doc[key].IsString() ? doc[key].GetString() : Json(doc[key]);
}

class SigningTest : public ::testing::Test {
protected:
    // The folder holds one good record, one under a second name, and what the loader must pass by
    // without failing or blocking: other names, broken and deep XML, a FIFO, a folder, link loops.
    void SetUp() override {
        const std::string dir = home.Path() + "/.config/VALKO/SesCertificates/";
        ASSERT_TRUE(ca::TryCreateDir(dir));
        for (const auto& [name, id] : {std::pair<const char*, const wchar_t*>{"alice.ses", L"alice"},
                                       {"alice.ses.bak", L"alice-bak"},
                                       {"alice.xml", L"not-loaded"}}) {
            CSesContainer document;
            document.certificate = std::make_unique<CSesCert>();
            document.certificate->ID = id;
            document.certificate->Surname = L"Смирнова";
            document.certificate->GivenName = L"Алиса";
            std::ofstream(dir + name, std::ios::binary) << document.Print();
        }
        std::ofstream(dir + "broken.ses") << "<SES><Certificate>";
        std::ofstream(dir + "nocert.ses") << "<SES Version=\"1.0\"><EDS/></SES>";
        std::ofstream(dir + "deep.ses") << std::string(10000, '<');
        mkfifo((dir + "fifo.ses").c_str(), 0600);
        mkdir((dir + "folder.ses").c_str(), 0700);
        symlink("loop.ses", (dir + "loop.ses").c_str());
        symlink("missing", (dir + "dangling.ses").c_str());
        host = std::make_unique<CHostModule>();
        ASSERT_NE(host->module, nullptr);
    }

    // Sign answers a signature of data by "alice" (raw bytes both ways) and puts the container in xml.
    std::string Sign(const std::string& data, std::string* xml, const std::string& extra = {}) {
        const SAnswer answer = host->Call(WithNul(R"({"mode":14,"senderCertId":"alice","fileDataSize":)" +
                                                  std::to_string(data.size()) + extra + "}") +
                                          data);
        EXPECT_EQ(Member(answer.json, "fileDataSize"), std::to_string(answer.data.size()));
        xml->assign(answer.data.begin(), answer.data.end());
        return answer.json;
    }

    CTempHome home;
    std::unique_ptr<CHostModule> host;
};

TEST_F(SigningTest, SigningVariantsAndFailures) {
    std::string xml;
    const std::string signedJson = Sign("123456789", &xml, R"(,"comment":"Договор №5","uri":"urn:doc:5")");
    EXPECT_EQ(signedJson,
              R"({"errorCode":0,"errorMessage":"DONE","fileDataSize":)" + std::to_string(xml.size()) + "}");
    EXPECT_THAT(Masked(xml),
                HasSubstr("<Surname>Смирнова</Surname>\n        <GivenName>Алиса</GivenName>\n"));
    EXPECT_THAT(
        Masked(xml),
        HasSubstr(
            "</Certificate>\n    <EDS>\n        <SignId>*</SignId>\n        <SignTimeUTC>*</SignTimeUTC>\n"
            "        <Comment>Договор №5</Comment>\n        <URI>urn:doc:5</URI>\n"
            "        <CRC Set=\"st_1\">" +
            B64("7800480153909949255") + "</CRC>\n    </EDS>\n</SES>\n"));

    // Each answer, followed by the container it carries, holds the expected text.
    const std::pair<const char*, std::string> cases[] = {
        {R"({"mode":14,"senderCertId":"alice","fileData":""})", "<CRC Set=\"st_1\">MA==</CRC>"},
        {R"({"mode":14,"senderCertId":"alice-bak","fileData":"eA=="})",
         "<ID>alice-bak</ID>"},  // any name ".ses"
        {R"({"mode":14,"senderCertId":"alice","isAttached":true,"fileData":"QUJD"})",
         "<Attached>QUJD</Attached>\n        <CRC"},
        {R"({"mode":27,"senderCertId":"alice","isAttached":true})", "<URI />\n        <CRC"},
        {R"({"mode":56,"senderCertId":"alice","fileData":"YWJj"})",
         "<CRC Set=\"st_1\">YWJj</CRC>"},  // a hash
        {R"({"mode":50,"fileData":"MTIzNDU2Nzg5"})",
         R"({"errorCode":0,"errorMessage":"DONE","fileData":")" + B64("7800480153909949255") + "\"}"},
        {R"({"mode":14,"senderCertId":"bob","fileData":"QUJD"})",
         R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"bob"})"},
        {R"({"mode":14,"senderCertId":"not-loaded","fileData":"QUJD"})",
         R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"not-loaded"})"},
        {R"({"mode":14,"senderCertId":"alice","addSigner":true,"fileData":"QUJD"})",
         R"({"errorCode":16303,"errorMessage":"ERROR Method not supported."})"},
        {R"({"mode":56,"senderCertId":"bob","fileData":"QUJD"})",
         R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"bob"})"}};
    for (const auto& [request, needle] : cases) {
        SCOPED_TRACE(request);
        const std::string answer = host->Ask(request);
        std::string text = answer;
        if (const std::string data = Member(answer, "fileData"); data != "<absent>") {
            ca::MallocPtr out;
            uint32_t size = 0;
            ca::Base64Decode(data.c_str(), out, size);
            text.append(reinterpret_cast<const char*>(out.get()), size);
        }
        EXPECT_THAT(text, HasSubstr(needle));
    }
}

TEST_F(SigningTest, VerificationOutcomes) {
    const std::string data = "The quick brown fox";
    std::string detached;
    std::string attached;
    Sign(data, &detached);
    Sign(data, &attached, R"(,"isAttached":true)");
    std::string tampered = data;
    tampered[4] ^= 1;
    const std::string valid =
        R"({"SignatureVerifyResult":0,"SignatureVerifyResultString":"Signature is valid",)"
        R"("CertificateVerifyResult":0,"CertificateVerifyResultString":"Certificate is valid"})";
    const std::string invalid =
        R"({"SignatureVerifyResult":16109,"SignatureVerifyResultString":"Signature is invalid",)"
        R"("CertificateVerifyResult":0,"CertificateVerifyResultString":"Certificate is valid"})";
    auto verify = [this](const std::string& container, const std::string& content) {
        return host
            ->Call(WithNul(R"({"mode":15,"sendSignData":")" + B64(container) + R"(","fileDataSize":)" +
                           std::to_string(content.size()) + "}") +
                   content)
            .json;
    };
    const struct {
        const char* label;
        std::string answer;
        const char* code;
        std::string verifyResult;
    } cases[] = {
        {"valid", verify(detached, data), "0", valid},
        {"one bit changed", verify(detached, tampered), "0", invalid},
        {"armoured signature",
         host->Ask(R"({"mode":15,"fileData":")" + B64(data) + R"(","sendSignData":")" +
                   B64("-----BEGIN CMS-----" + B64(detached) + "-----END CMS-----") + "\"}"),
         "0", valid},
        {"attached container",
         host->Ask(R"({"mode":15,"isAttached":true,"fileData":")" + B64(attached) + "\"}"), "16101",
         "<absent>"},
        {"no signature", host->Ask(R"({"mode":15,"fileData":"QUJD"})"), "16118", "<absent>"},
        {"attached without data", host->Ask(R"({"mode":15,"isAttached":true})"), "16118", "<absent>"},
        {"not XML", verify("<<<", data), "16101", "<absent>"},
        {"no SES root", verify("<Other/>", data), "16101", "<absent>"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(Member(c.answer, "errorCode"), c.code) << c.answer;
        EXPECT_EQ(Member(c.answer, "verifyResult"), c.verifyResult);
    }
    EXPECT_EQ(Member(cases[0].answer, "needCertId"), "alice");
    EXPECT_EQ(Member(cases[3].answer, "errorMessage"), "File operation error");
}

TEST_F(SigningTest, SignatureInfoAndType) {
    std::string detached;
    Sign("data", &detached, R"(,"comment":"c1")");
    const std::string info =
        host->Ask(R"({"mode":29,"fileData":"ZGF0YQ==","sendSignData":")" + B64(detached) + "\"}");
    EXPECT_EQ(Member(info, "errorCode"), "0");
    for (const char* needle : {R"("VerifyResult":"DONE Valid ")", R"("Comment":"c1")", R"("Id":"alice")",
                               R"(],"isAttached":false})"}) {
        EXPECT_THAT(info, HasSubstr(needle));
    }
    EXPECT_EQ(host->Ask(R"({"mode":57,"signatures":["QQ==","","QUI="]})"),
              R"({"errorCode":0,"errorMessage":"DONE","signInfoArray":[[],[],[]]})");
    EXPECT_EQ(host->Ask(R"({"mode":44,"fileData":"QUJD"})"), R"({"errorCode":0,"errorMessage":"Detached"})");
    EXPECT_EQ(host->Ask(R"({"mode":44})"),
              R"x({"errorCode":16118,"errorMessage":"ERROR No data in argument(s)"})x");
}

// The raw bytes are read where the host left them: a read-only buffer signs (detached and attached)
// to the same containers as a writable one.
TEST_F(SigningTest, SignsFromAReadOnlyRequestBuffer) {
    const std::string data(3 * 4096 + 5, 'q');
    const std::string encoded = B64(data);
    const std::string raw = R"(,"fileDataSize":)" + std::to_string(data.size()) + "}";
    for (const auto& [extra, request] : std::vector<std::pair<std::string, std::string>>{
             {"", WithNul(R"({"mode":14,"senderCertId":"alice")" + raw) + data},
             {"attached", WithNul(R"({"mode":14,"senderCertId":"alice","isAttached":true)" + raw) + data},
             {"", WithNul(R"({"fileDataEncodedSize":)" + std::to_string(encoded.size()) + R"(,"fileData":")" +
                          encoded + R"(","mode":14,"senderCertId":"alice"})")}}) {
        const size_t pages = (request.size() + 4095) / 4096 * 4096;
        void* mapped = mmap(nullptr, pages, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(mapped, MAP_FAILED);
        std::memcpy(mapped, request.data(), request.size());
        ASSERT_EQ(mprotect(mapped, pages, PROT_READ), 0);
        CMPacket packet{};
        packet.request = static_cast<const char*>(mapped);
        packet.requestLength = static_cast<uint32_t>(request.size());
        packet.isLocal = true;
        host->process(host->module, &packet);
        const SAnswer fromReadOnly = CHostModule::Split(packet);
        munmap(mapped, pages);
        const SAnswer fromCopy = host->Call(request);
        EXPECT_EQ(Member(fromReadOnly.json, "errorCode"), "0") << fromReadOnly.json;
        // The container: raw bytes after the answer's NUL, or the base64 "fileData" of a JSON answer.
        const auto container = [](const SAnswer& answer) {
            if (!answer.data.empty()) {
                return std::string(answer.data.begin(), answer.data.end());
            }
            ca::MallocPtr bytes;
            uint32_t size = 0;
            ca::Base64Decode(Member(answer.json, "fileData").c_str(), bytes, size);
            return std::string(reinterpret_cast<const char*>(bytes.get()), size);
        };
        const std::string a = container(fromReadOnly);
        EXPECT_NE(a.find("<CRC "), std::string::npos) << fromReadOnly.json;
        EXPECT_EQ(Masked(a), Masked(container(fromCopy)));
        EXPECT_EQ(a.find("<Attached>") != std::string::npos, !extra.empty());
        EXPECT_EQ(a.find(B64(data)) != std::string::npos, !extra.empty());
    }
}

}  // namespace
