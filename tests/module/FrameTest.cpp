// The request frame (ProcessJson) around a stand-in module whose operation echoes the file data.
#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <stdexcept>

#include "mod_ses.h"
#include "module/CryptoModule.h"
#include "base/Log.h"
#include "tests/support/HostModule.h"
#include "tests/support/LoopbackHttpServer.h"
#include "tests/support/TestSupport.h"

namespace {

class CEchoModule final : public ca::CryptoModule {
public:
    CEchoModule() : ca::CryptoModule(true) {}
    virtual ~CEchoModule() = default;

    void ProcessClientRequest(ca::CryptPacket& packet, bool) override {
        if (packet.request.comment == L"runtime_error") {
            throw std::runtime_error("boom");
        }
        if (packet.request.comment == L"bad_alloc") {
            throw std::bad_alloc();
        }
        if (const uint8_t* data = packet.request.GetFileData(); data != nullptr) {
            packet.response.SetObject(std::make_unique<ca::FileData>(data, packet.request.GetFileDataSize()),
                                      true);
        }
        packet.response.errorMessage = L"DONE";
    }
};

SAnswer Call(ca::CryptoModule& module, const std::string& buffer) {
    CMPacket packet{};
    packet.request = buffer.data();
    packet.requestLength = static_cast<uint32_t>(buffer.size());
    packet.isLocal = true;
    module.ProcessJson(packet);
    return CHostModule::Split(packet);
}

class FrameTest : public ::testing::Test {
protected:
    void SetUp() override {
        module.binding.callback.store(&CLogCapture::CaptureLogLine);
        CLogCapture::Clear();
    }
    CEchoModule module;
};

TEST_F(FrameTest, ResponseSizeCountsTheNulOnlyWhenDataFollows) {
    const SAnswer plain = Call(module, WithNul(R"({"mode":11,"fileData":"QUJD"})"));
    EXPECT_EQ(plain.json, R"({"errorCode":0,"errorMessage":"DONE","fileData":"QUJD"})");
    EXPECT_EQ(plain.responseSize, plain.json.size());

    const std::string tenBytes("0123456\0\x01\xff", 10);
    const SAnswer raw = Call(module, WithNul(R"({"mode":11,"fileDataSize":10})") + tenBytes);
    EXPECT_EQ(raw.json, R"({"errorCode":0,"errorMessage":"DONE","fileDataSize":10})");
    EXPECT_EQ(raw.responseSize, raw.json.size() + 11);
    EXPECT_EQ(raw.data, Bytes(tenBytes));
}

TEST_F(FrameTest, EveryFileDataFormReachesTheOperation) {
    CLoopbackHttpServer server([](const CLoopbackHttpServer::SRequest&) {
        return CLoopbackHttpServer::SReply{200, std::string("\x00\x01XYZ", 5)};
    });
    const struct {
        const char* label;
        std::string request;
        const char* json;
    } cases[] = {
        {"inline", WithNul(R"({"fileData":"QUJD"})"),
         R"({"errorCode":0,"errorMessage":"DONE","fileData":"QUJD"})"},
        {"encoded size", WithNul(R"({"fileDataEncodedSize":4,"fileData":"QUJD"})"),
         R"({"errorCode":0,"errorMessage":"DONE","fileData":"QUJD"})"},
        {"armour is kept as sent", WithNul(R"({"fileData":"LS0tLS1CRUdJTiBDTVMtLS0tLQ=="})"),
         R"({"errorCode":0,"errorMessage":"DONE","fileData":"LS0tLS1CRUdJTiBDTVMtLS0tLQ=="})"},
        {"download", WithNul(R"({"fileDataUrl":")" + server.Url("/f") + "\"}"),
         R"({"errorCode":0,"errorMessage":"DONE","fileData":"AAFYWVo="})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(Call(module, c.request).json, c.json);
    }
}

TEST_F(FrameTest, LogModeThreeLogsTheRequestData) {
    module.config.logMode = 3;
    Call(module, WithNul(R"({"mode":11,"fileDataSize":3})") + "ABC");
    const auto lines = CLogCapture::Take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), (SLogLine{L"Request filedata : QUJD", false}));
}

TEST_F(FrameTest, ForeignExceptionsBecomeExecutionErrors) {
    for (const char* kind : {"runtime_error", "bad_alloc"}) {
        SCOPED_TRACE(kind);
        const SAnswer answer =
            Call(module, WithNul(std::string(R"({"fileDataSize":1,"comment":")") + kind + "\"}") + "A");
        EXPECT_EQ(answer.json, R"({"errorCode":16197,"errorMessage":"ERROR Execution error"})");
        const auto lines = CLogCapture::Take();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_TRUE(lines[0].isError);
    }
}

TEST_F(FrameTest, FinalChunkUploadsTheResult) {
    CLoopbackHttpServer server([](const CLoopbackHttpServer::SRequest& request) {
        return CLoopbackHttpServer::SReply{request.body == "ABC" ? 200 : 400, "stored"};
    });
    const std::string url = server.Url("/up");
    const SAnswer answer =
        Call(module, WithNul(R"({"fileData":"QUJD","streamFinalChunk":true,"uploadUrl":")" + url + "\"}"));
    EXPECT_EQ(answer.json, R"({"errorCode":0,"errorMessage":"DONE","fileData":"c3RvcmVk"})");
    ASSERT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(server.Requests()[0].Header("content-type"), "application/octet-stream");

    // Without the final-chunk flag nothing is sent.
    Call(module, WithNul(R"({"fileData":"QUJD","uploadUrl":")" + url + "\"}"));
    EXPECT_EQ(server.Requests().size(), 1u);

    const SAnswer refused =
        Call(module, WithNul(R"({"fileData":"QUJE","streamFinalChunk":true,"uploadUrl":")" + url + "\"}"));
    EXPECT_EQ(refused.json.rfind(
                  R"({"errorCode":16305,"errorMessage":"Error occured during upload operation: )", 0),
              0u)
        << refused.json;
}

}  // namespace
