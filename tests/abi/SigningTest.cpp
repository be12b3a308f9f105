// Signing and verification end to end through the C interface, with certificates in a temporary HOME.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "base/Encode.h"
#include "base/Json.h"
#include "ses/SesContainer.h"
#include "tests/support/HostModule.h"

namespace {

std::string CertDir(const CTempHome& home) { return home.Path() + "/.config/VALKO/SesCertificates/"; }

void WriteCert(const std::string& path, const std::wstring& id, const std::wstring& surname) {
    CSesContainer document;
    document.certificate = std::make_unique<CSesCert>();
    document.certificate->ID = id;
    document.certificate->Surname = surname;
    document.certificate->GivenName = L"Алиса";
    document.certificate->Email = L"alice@example.org";
    std::ofstream(path, std::ios::binary) << document.Print();
}

std::string Member(const std::string& answer, const char* key) {
    rapidjson::Document doc;
    doc.Parse(answer.c_str());  // the JSON ends at the NUL
    if (!doc.IsObject() || !doc.HasMember(key)) {
        return "<absent>";
    }
    const auto& value = doc[key];
    if (value.IsString()) {
        return value.GetString();
    }
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}

// FileData returns the answer's file data, inline ("fileData") or raw after the NUL ("fileDataSize").
std::string FileData(const std::string& answer) {
    const size_t nul = answer.find('\0');
    if (nul != std::string::npos) {
        EXPECT_EQ(Member(answer.substr(0, nul), "fileDataSize"), std::to_string(answer.size() - nul - 1));
        return answer.substr(nul + 1);
    }
    const std::string text = Member(answer, "fileData");
    ca::MallocPtr out;
    uint32_t size = 0;
    ca::Base64Decode(text.c_str(), out, size);
    return std::string(reinterpret_cast<const char*>(out.get()), size);
}

// Mask replaces the text of the first <name> element with "X" and returns the old text.
std::string Mask(std::string& xml, const std::string& name) {
    const std::string open = "<" + name + ">";
    const size_t start = xml.find(open);
    const size_t end = xml.find("</" + name + ">");
    if (start == std::string::npos || end == std::string::npos || end < start) {
        ADD_FAILURE() << "no " << name;
        return {};
    }
    const std::string text = xml.substr(start + open.size(), end - start - open.size());
    xml.replace(start + open.size(), text.size(), "X");
    return text;
}

class SigningTest : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string dir = CertDir(home);
        ASSERT_EQ(system(("mkdir -p '" + dir + "'").c_str()), 0);
        WriteCert(dir + "alice.ses", L"alice", L"Смирнова");
        WriteCert(dir + "alice.ses.bak", L"alice-bak", L"Backup");
        WriteCert(dir + "alice.xml", L"not-loaded", L"NoSes");
        std::ofstream(dir + "broken.ses") << "<SES><Certificate>";
        std::ofstream(dir + "nocert.ses") << "<SES Version=\"1.0\"><EDS/></SES>";
        std::ofstream(dir + "deep.ses") << std::string(10000, '<') ;
        mkfifo((dir + "fifo.ses").c_str(), 0600);
        mkdir((dir + "folder.ses").c_str(), 0700);
        symlink("loop.ses", (dir + "loop.ses").c_str());
        symlink("missing", (dir + "dangling.ses").c_str());
        host = std::make_unique<CHostModule>();
        ASSERT_NE(host->module, nullptr);
    }

    std::string Call(const std::string& json, const std::string& data = {}) {
        std::string request = json;
        if (!data.empty() || json.find("fileDataSize") != std::string::npos) {
            request += std::string(1, '\0') + data;
        } else {
            request = WithNul(request);
        }
        // Raw response bytes stay behind the NUL so that FileData can check "fileDataSize".
        const SAnswer answer = host->Call(request);
        return answer.data.empty() && answer.json.find("fileDataSize") == std::string::npos
                   ? answer.json
                   : answer.json + std::string(1, '\0') + std::string(answer.data.begin(), answer.data.end());
    }

    std::string Sign(const std::string& data, const std::string& extra = {}) {
        return Call(R"({"mode":14,"senderCertId":"alice","fileDataSize":)" + std::to_string(data.size()) + extra + "}",
                    data);
    }

    CTempHome home;
    std::unique_ptr<CHostModule> host;
};

TEST_F(SigningTest, FolderLoadsOnlyReadableSesFiles) {
    const std::string enumerated = Call(R"({"mode":11})");
    EXPECT_EQ(enumerated, R"({"errorCode":0,"errorMessage":"DONE"})");
    for (const char* id : {"alice", "alice-bak"}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(Member(Sign("x", std::string(R"(,"senderCertId":")") + id + "\""), "errorCode"), "0");
    }
    EXPECT_EQ(Member(Call(R"({"mode":14,"senderCertId":"not-loaded","fileData":"QUJD"})"), "errorCode"), "16104");
}

TEST_F(SigningTest, DetachedContainerLayout) {
    const std::string answer = Sign("123456789", R"(,"comment":"Договор №5","uri":"urn:doc:5")");
    EXPECT_EQ(Member(answer, "errorCode"), "0");
    EXPECT_EQ(Member(answer, "errorMessage"), "DONE");
    std::string xml = FileData(answer);
    const std::string id = Mask(xml, "SignId");
    EXPECT_FALSE(id.empty());
    EXPECT_EQ(id.find_first_not_of("0123456789"), std::string::npos);
    const std::string time = Mask(xml, "SignTimeUTC");  // "dd.mm.yyyy hh:mm:ss"
    ASSERT_EQ(time.size(), 19u);
    EXPECT_EQ((std::string{time[2], time[5], time[10], time[13], time[16]}), ".. ::");
    EXPECT_EQ(xml,
              "<SES Version=\"1.0\">\n"
              "    <Certificate>\n"
              "        <ID>alice</ID>\n"
              "        <Surname>Смирнова</Surname>\n"
              "        <GivenName>Алиса</GivenName>\n"
              "        <Organization />\n"
              "        <Title />\n"
              "        <OrganizationUnit />\n"
              "        <Email>alice@example.org</Email>\n"
              "        <Telephone />\n"
              "        <Country />\n"
              "        <Locality />\n"
              "        <Address />\n"
              "    </Certificate>\n"
              "    <EDS>\n"
              "        <SignId>X</SignId>\n"
              "        <SignTimeUTC>X</SignTimeUTC>\n"
              "        <Comment>Договор №5</Comment>\n"
              "        <URI>urn:doc:5</URI>\n"
              "        <CRC Set=\"st_1\">" + B64("7800480153909949255") + "</CRC>\n"
              "    </EDS>\n"
              "</SES>\n");
}

TEST_F(SigningTest, SigningVariants) {
    const struct {
        const char* label;
        std::string answer;
        const char* needle;  // expected inside the container text
    } cases[] = {
        {"empty data", Call(R"({"mode":14,"senderCertId":"alice","fileData":""})"), "<CRC Set=\"st_1\">MA==</CRC>"},
        {"attached", Sign("ABC", R"(,"isAttached":true)"), "<Attached>QUJD</Attached>\n        <CRC"},
        {"attached empty", Call(R"({"mode":27,"senderCertId":"alice","isAttached":true})"), "<URI />\n        <CRC"},
        {"hash given", Call(R"({"mode":56,"senderCertId":"alice","fileData":"YWJj"})"), "<CRC Set=\"st_1\">YWJj</CRC>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(Member(c.answer, "errorCode"), "0");
        EXPECT_NE(FileData(c.answer).find(c.needle), std::string::npos) << FileData(c.answer);
    }
    EXPECT_EQ(FileData(Call(R"({"mode":50,"fileData":"MTIzNDU2Nzg5"})")), "7800480153909949255");
}

TEST_F(SigningTest, SigningFailures) {
    EXPECT_EQ(Call(R"({"mode":14,"senderCertId":"bob","fileData":"QUJD"})"),
              R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"bob"})");
    EXPECT_EQ(Call(R"({"mode":14,"senderCertId":"alice","addSigner":true,"fileData":"QUJD"})"),
              R"({"errorCode":16303,"errorMessage":"ERROR Method not supported."})");
    EXPECT_EQ(Call(R"({"mode":56,"senderCertId":"bob","fileData":"QUJD"})"),
              R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"bob"})");
}

TEST_F(SigningTest, VerificationOutcomes) {
    const std::string data = "The quick brown fox";
    const std::string detached = FileData(Sign(data));
    const std::string attached = FileData(Sign(data, R"(,"isAttached":true)"));
    std::string tampered = data;
    tampered[4] ^= 1;
    const std::string valid = R"({"SignatureVerifyResult":0,"SignatureVerifyResultString":"Signature is valid",)"
                              R"("CertificateVerifyResult":0,"CertificateVerifyResultString":"Certificate is valid"})";
    const std::string invalid = R"({"SignatureVerifyResult":16109,"SignatureVerifyResultString":"Signature is invalid",)"
                                R"("CertificateVerifyResult":0,"CertificateVerifyResultString":"Certificate is valid"})";
    auto verify = [&](const std::string& container, const std::string& content) {
        return Call(R"({"mode":15,"sendSignData":")" + B64(container) + R"(","fileDataSize":)" +
                        std::to_string(content.size()) + "}",
                    content);
    };
    const struct {
        const char* label;
        std::string answer;
        const char* code;
        std::string verifyResult;
    } cases[] = {
        {"valid", verify(detached, data), "0", valid},
        {"one bit changed", verify(detached, tampered), "0", invalid},
        {"armoured signature", Call(R"({"mode":15,"fileData":")" + B64(data) + R"(","sendSignData":")" +
                                    B64("-----BEGIN CMS-----" + B64(detached) + "-----END CMS-----") + "\"}"),
         "0", valid},
        {"attached container", Call(R"({"mode":15,"isAttached":true,"fileData":")" + B64(attached) + "\"}"), "16101", "<absent>"},
        {"no signature", Call(R"({"mode":15,"fileData":"QUJD"})"), "16118", "<absent>"},
        {"attached without data", Call(R"({"mode":15,"isAttached":true})"), "16118", "<absent>"},
        {"not XML", verify("<<<", data), "16101", "<absent>"},
        {"no SES root", verify("<Other/>", data), "16101", "<absent>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(Member(c.answer, "errorCode"), c.code) << c.answer;
        EXPECT_EQ(Member(c.answer, "verifyResult"), c.verifyResult);
    }
    EXPECT_EQ(Member(cases[0].answer, "needCertId"), "alice");
    EXPECT_EQ(Member(cases[3].answer, "errorMessage"), "File operation error");
}

TEST_F(SigningTest, SignatureInfoAndType) {
    const std::string detached = FileData(Sign("data", R"(,"comment":"c1")"));
    const std::string info = Call(R"({"mode":29,"fileData":"ZGF0YQ==","sendSignData":")" + B64(detached) + "\"}");
    EXPECT_EQ(Member(info, "errorCode"), "0");
    EXPECT_NE(info.find(R"("VerifyResult":"DONE Valid ")"), std::string::npos) << info;
    EXPECT_NE(info.find(R"("Comment":"c1")"), std::string::npos);
    EXPECT_NE(info.find(R"("Id":"alice")"), std::string::npos);
    EXPECT_NE(info.find(R"(],"isAttached":false})"), std::string::npos);

    EXPECT_EQ(Call(R"({"mode":57,"signatures":["QQ==","","QUI="]})"),
              R"({"errorCode":0,"errorMessage":"DONE","signInfoArray":[[],[],[]]})");
    EXPECT_EQ(Call(R"({"mode":44,"fileData":"QUJD"})"), R"({"errorCode":0,"errorMessage":"Detached"})");
    EXPECT_EQ(Call(R"({"mode":44})"), R"x({"errorCode":16118,"errorMessage":"ERROR No data in argument(s)"})x");
}

}  // namespace
