// The request frame (ProcessJson) around a stand-in module whose operation echoes the file data.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "module/CryptoModule.h"
#include "tests/support/HostModule.h"
#include "tests/support/LoopbackHttpServer.h"

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

class FrameTest : public ::testing::Test {
protected:
    SAnswer Call(const std::string& buffer) {
        CMPacket packet{};
        packet.request = buffer.data();
        packet.requestLength = static_cast<uint32_t>(buffer.size());
        packet.isLocal = true;
        module.ProcessJson(packet);
        return CHostModule::Split(packet);
    }

    CEchoModule module;
    CLogScope log{module.binding};
};

TEST_F(FrameTest, ResponseSizeCountsTheNulOnlyWhenDataFollows) {
    const SAnswer plain = Call(WithNul(R"({"mode":11,"fileData":"QUJD"})"));
    EXPECT_EQ(plain.json, R"({"errorCode":0,"errorMessage":"DONE","fileData":"QUJD"})");
    EXPECT_EQ(plain.responseSize, plain.json.size());

    const std::string tenBytes("0123456\0\x01\xff", 10);
    const SAnswer raw = Call(WithNul(R"({"mode":11,"fileDataSize":10})") + tenBytes);
    EXPECT_EQ(raw.json, R"({"errorCode":0,"errorMessage":"DONE","fileDataSize":10})");
    EXPECT_EQ(raw.responseSize, raw.json.size() + 11);
    EXPECT_EQ(raw.data, Bytes(tenBytes));
}

TEST_F(FrameTest, EveryFileDataFormReachesTheOperation) {
    CLoopbackHttpServer server([](const CLoopbackHttpServer::SRequest& request) {
        return request.path == "/f" ? CLoopbackHttpServer::SReply{200, std::string("\x00\x01XYZ", 5)}
                                    : CLoopbackHttpServer::SReply{404, "missing"};
    });
    const std::pair<std::string, const char*> cases[] = {
        {WithNul(R"({"fileData":"QUJD"})"), R"({"errorCode":0,"errorMessage":"DONE","fileData":"QUJD"})"},
        {WithNul(R"({"fileDataEncodedSize":4,"fileData":"QUJD"})"),
         R"({"errorCode":0,"errorMessage":"DONE","fileData":"QUJD"})"},
        {WithNul(R"({"fileData":"LS0tLS1CRUdJTiBDTVMtLS0tLQ=="})"),  // armour is kept as sent
         R"({"errorCode":0,"errorMessage":"DONE","fileData":"LS0tLS1CRUdJTiBDTVMtLS0tLQ=="})"},
        {WithNul(R"({"fileDataUrl":")" + server.Url("/f") + "\"}"),
         R"({"errorCode":0,"errorMessage":"DONE","fileData":"AAFYWVo="})"},
        {WithNul(R"({"fileDataUrl":")" + server.Url("/none") + "\"}"),
         R"({"errorCode":16264,"errorMessage":"ERROR Server error"})"}};
    for (const auto& [request, answer] : cases) {
        EXPECT_EQ(Call(request).json, answer) << request;
    }
}

TEST_F(FrameTest, ForeignExceptionsBecomeExecutionErrors) {
    for (const char* kind : {"runtime_error", "bad_alloc"}) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(Call(WithNul(std::string(R"({"fileDataSize":1,"comment":")") + kind + "\"}") + "A").json,
                  R"({"errorCode":16197,"errorMessage":"ERROR Execution error"})");
        const auto lines = log.Take();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_TRUE(lines[0].isError);
    }
}

TEST_F(FrameTest, FinalChunkUploadsTheResult) {
    CLoopbackHttpServer server([](const CLoopbackHttpServer::SRequest& request) {
        return CLoopbackHttpServer::SReply{request.body == "ABC" ? 200 : 400, "stored"};
    });
    const std::string url = server.Url("/up");
    EXPECT_EQ(Call(WithNul(R"({"fileData":"QUJD","streamFinalChunk":true,"uploadUrl":")" + url + "\"}")).json,
              R"({"errorCode":0,"errorMessage":"DONE","fileData":"c3RvcmVk"})");
    ASSERT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(server.Requests()[0].Header("content-type"), "application/octet-stream");
    // Without the final-chunk flag nothing is sent.
    Call(WithNul(R"({"fileData":"QUJD","uploadUrl":")" + url + "\"}"));
    EXPECT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(
        Call(WithNul(R"({"fileData":"QUJE","streamFinalChunk":true,"uploadUrl":")" + url + "\"}"))
            .json.rfind(R"({"errorCode":16305,"errorMessage":"Error occured during upload operation: )", 0),
        0u);
}

}  // namespace
