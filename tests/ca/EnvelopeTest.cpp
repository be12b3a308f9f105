#include <gtest/gtest.h>

#include "base/Encode.h"
#include "ca/CryptPacket.h"
#include "tests/support/TestSupport.h"

namespace {

// Read parses text (JSON, then NUL and bytes when given) into record and returns the code thrown, or 0.
template <typename T>
uint32_t Read(T& record, std::string text) {
    return CodeOf([&] { record.FromJson(text.data(), static_cast<uint32_t>(text.size())); });
}

std::string FileText(const ca::SerializableContainer& container) {
    const uint8_t* data = container.GetFileData();
    return data == nullptr ? "<none>"
                           : std::string(reinterpret_cast<const char*>(data), container.GetFileDataSize());
}

std::unique_ptr<ca::FileData> Data(const std::string& bytes) {
    return std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>(bytes.data()),
                                          static_cast<uint32_t>(bytes.size()));
}

TEST(RequestRead, ProbeReadsOnlyItsFourKeys) {
    ca::CryptRequest request;
    ASSERT_EQ(
        Read(request, R"({"mode":14,"test":true,"extInitParams":"A=1;","clientId":"c","senderCertId":"s",)"
                      R"("comment":"x","isAttached":"not even a bool","fileData":"QUJD","uploadUrl":"h"})"),
        0u);
    EXPECT_EQ(request.mode, 14u);
    EXPECT_EQ(request.presenceMask, ca::kBitTest);
    EXPECT_EQ(request.extInitParams + L"|" + request.clientId, L"A=1;|c");
    EXPECT_EQ(request.senderCertId + request.comment + request.uploadUrl, L"");
    EXPECT_EQ(request.GetFileData(), nullptr);
}

TEST(RequestRead, FieldsFlagsAndPrecedence) {
    ca::CryptRequest request;
    ASSERT_EQ(
        Read(request, R"({"mode":56,"clientId":"\u0416","senderCertId":7,"recipientCertId":"r",)"
                      R"("certInclude":2,"signerIndex":0,"isAttached":false,"streamFinalChunk":true,)"
                      R"("streamId":9,"comment":"c","uri":"u","hashAlg":"GOST","params":"QUJD",)"
                      R"("sendSignData":"QUJD","signatures":["QQ=="],"uploadUrl":null,"redirected":true})"),
        0u);
    EXPECT_EQ(request.clientId, L"\u0416");
    EXPECT_EQ(request.senderCertId, L"");  // a non-string sender id is skipped silently
    EXPECT_EQ(request.presenceMask, ca::kBitCertInclude | ca::kBitSignerIndex | ca::kBitIsAttached |
                                        ca::kBitStreamFinalChunk | ca::kBitStreamId);
    EXPECT_EQ(request.streamId, 9u);
    // "hashAlg" wins over "params": the wide string's bytes with its terminator.
    ASSERT_EQ(request.params.size, 5 * sizeof(wchar_t));
    EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(request.params.data.get())), L"GOST");
    // "sendSignData" wins over "signatures".
    EXPECT_EQ(request.sendSignData.size, 3u);
    EXPECT_TRUE(request.signatures.empty());
    EXPECT_EQ(request.uploadUrl, L"");
    EXPECT_TRUE(request.redirected);

    ca::CryptRequest listed;
    ASSERT_EQ(Read(listed, R"({"mode":15,"signatures":["QQ==","QUI="]})"), 0u);
    ASSERT_EQ(listed.signatures.size(), 2u);
    EXPECT_EQ(listed.signatures.back().size, 2u);
}

TEST(RequestRead, RawBytesMustFitBehindTheNul) {
    for (const uint32_t declared : {0u, 3u, 4u, 4294967295u}) {
        SCOPED_TRACE(declared);
        const std::string text =
            R"({"mode":11,"storeAddress":"x","fileDataSize":)" + std::to_string(declared) + "}";
        ca::CryptRequest request;
        ASSERT_EQ(Read(request, text + std::string(1, '\0') + "ABC"), declared <= 3 ? 0u : ca::kNoDataInArgs);
        if (declared <= 3) {
            EXPECT_TRUE(request.binaryFileData);
            EXPECT_EQ(FileText(request), std::string("ABC").substr(0, declared));
            EXPECT_EQ(request.Objects().size(), 1u);  // "storeAddress" is not read beside raw bytes
        }
    }
}

TEST(RequestPreParse, EncodedSizeLiftsThePayloadOutOfTheText) {
    const struct {
        const char* text;
        const char* textAfter;  // the JSON that the parser then sees; null: not lifted
    } cases[] = {
        {R"({"fileDataEncodedSize":4,"fileData":"QUJD"})", R"({"fileDataEncodedSize":4,"fileData":""})"},
        {R"({"fileDataEncodedSize":5,"fileData":"QUJD"})", nullptr},  // the closing quote no longer fits
        {R"({"fileDataEncodedSize":0,"fileData":"QUJD"})", nullptr},
        {R"({"fileDataEncodedSize": 4,"fileData":"QUJD"})", nullptr},  // no blank before the digits
        {R"({"fileDataEncodedSize":4 ,"fileData":"QUJD"})", R"({"fileDataEncodedSize":4 ,"fileData":""})"},
        {R"({"fileDataEncodedSize":4,"fileData": "QUJD"})", nullptr},
        {R"({"fileDataEncodedSize":4})", nullptr},
        {R"({"fileData":"QUJD","fileDataEncodedSize":4})", nullptr},
        {R"({"fileDataEncodedSize":99999999999999999999999999999999999,"fileData":"QUJD"})", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::string buffer = c.text + std::string(1, '\0');
        ca::CryptRequest probe;
        EXPECT_EQ(probe.PreParseFileData(buffer.data(), buffer.size()), c.textAfter != nullptr);
        EXPECT_EQ(FileText(probe), c.textAfter != nullptr ? "ABC" : "<none>");
        EXPECT_STREQ(buffer.c_str(), c.textAfter != nullptr ? c.textAfter : c.text);
    }
    // A lifted payload wins over raw bytes behind the NUL.
    ca::CryptRequest request;
    ASSERT_EQ(Read(request, R"({"fileDataEncodedSize":4,"fileData":"QUJD","mode":11,"fileDataSize":2})" +
                                std::string(1, '\0') + "XY"),
              0u);
    EXPECT_EQ(FileText(request), "ABC");
    EXPECT_FALSE(request.binaryFileData);
    EXPECT_EQ(request.mode, 11u);
}

TEST(RequestWrite, KeyOrderParameterKeyAndReadBack) {
    // Mode 56 writes the parameter bytes as "hashAlg", others as "params"; raw data only its size.
    const std::string written = R"({"mode":56,"extInitParams":"E=1;","clientId":"c","recipientCertId":"r",)"
                                R"("test":false,"certInclude":1,"addSigner":false,"streamId":3,"uri":"u",)";
    ca::CryptRequest request;
    ASSERT_EQ(Read(request, written + R"("params":"QUI=","uploadUrl":"http://x/","fileDataSize":3})" +
                                std::string(1, '\0') + "xyz"),
              0u);
    EXPECT_EQ(Json(request),
              written + R"("hashAlg":"QUI=","uploadUrl":"http://x/","redirected":false,"fileDataSize":3})");
    request.mode = 14;
    request.binaryFileData = false;
    EXPECT_NE(Json(request).find(R"("params":"QUI=","uploadUrl")"), std::string::npos);
    EXPECT_NE(Json(request).find(R"("fileData":"eHl6"})"), std::string::npos);

    const std::string text =
        R"({"mode":15,"clientId":"c","senderCertId":"s","isAttached":true,"comment":"k",)"
        R"("sendSignData":"QUJD","redirected":false,"fileData":"QUJD"})";
    ca::CryptRequest read;
    ASSERT_EQ(Read(read, text), 0u);
    EXPECT_EQ(Json(read), text);
}

// A stand-in record of a given type, written as a fixed JSON value.
class CFakeRecord : public ca::ISerializable {
public:
    explicit CFakeRecord(int inType) : type(inType) {}
    void FromJson(const ca::JsonValue&) override {}
    void ToJson(ca::JsonWriter& writer) const override { writer.Int(type); }
    int GetType() const override { return type; }
    int type;
};

TEST(ResponseWrite, KeyOrderAndIsAttachedAfterSignInfo) {
    ca::CryptResponse response;
    EXPECT_EQ(Json(response), R"({"errorCode":0,"errorMessage":""})");
    response.errorCode = 16109;
    response.errorMessage = L"DONE Invalid";
    response.needCertId = L"id";
    response.isAttached = true;
    response.streamId = 4;
    response.sendSignData.data = ca::CopyBlob(reinterpret_cast<const uint8_t*>("A"), 1);
    response.sendSignData.size = 1;
    response.SetObject(std::make_unique<CFakeRecord>(6), false);
    response.SetObject(std::make_unique<CFakeRecord>(4), false);
    response.SetObject(Data("ABC"), false);
    EXPECT_EQ(Json(response),
              R"({"errorCode":16109,"errorMessage":"DONE Invalid","needCertId":"id","streamId":4,)"
              R"("sendSignData":"QQ==","fileData":"QUJD","signInfo":4,"isAttached":true,"certInfo":6})");
    response.binaryFileData = true;
    EXPECT_NE(Json(response).find(R"("fileDataSize":3,"signInfo")"), std::string::npos);
    response.SetObject(std::make_unique<CFakeRecord>(7), true);
    EXPECT_EQ(response.Objects().size(), 1u);  // the clearing form drops every earlier record
}

TEST(ResponseRead, ReadsFieldsAndRawBytes) {
    ca::CryptResponse response;
    ASSERT_EQ(Read(response, R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"x","streamId":2,)"
                             R"("isAttached":true,"fileDataSize":2})" +
                                 std::string(1, '\0') + "hi"),
              0u);
    EXPECT_EQ(response.errorCode, 16104u);
    EXPECT_EQ(response.needCertId, L"x");
    EXPECT_TRUE(response.isAttached && response.binaryFileData);
    EXPECT_EQ(FileText(response), "hi");
    ca::CryptResponse truncated;
    EXPECT_EQ(Read(truncated, R"({"errorCode":0,"fileDataSize":3})" + std::string(1, '\0') + "hi"),
              ca::kNoDataInArgs);
}

TEST(PacketDecoders, ReplaceThePayloadInPlace) {
    ca::CryptPacket packet;
    packet.request.SetObject(Data("-----BEGIN CERTIFICATE-----\nQUJD\n-----END CERTIFICATE-----"), false);
    packet.request.SetObject(std::make_unique<CFakeRecord>(8), false);
    packet.CertBase64FormattedDecodeIfNeeded();
    EXPECT_EQ(FileText(packet.request), "ABC");
    EXPECT_EQ(packet.request.Objects().size(), 1u);  // replacing the data clears the map on purpose

    const std::string armoured = "-----BEGIN CMS-----QUI=-----END CMS-----";
    packet.request.sendSignData.data =
        ca::CopyBlob(reinterpret_cast<const uint8_t*>(armoured.data()), armoured.size());
    packet.request.sendSignData.size = static_cast<uint32_t>(armoured.size());
    packet.SignBase64FormattedDecodeIfNeeded();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(packet.request.sendSignData.data.get()),
                          packet.request.sendSignData.size),
              "AB");
    EXPECT_EQ(FileText(packet.request), "ABC");  // the detached form leaves the file data alone

    ca::CryptPacket upload;  // no "uploadUrl"
    upload.response.SetObject(Data("A"), false);
    upload.UploadFileData(30000);
    EXPECT_EQ(upload.response.errorCode, ca::kUploadError);
    EXPECT_EQ(upload.response.errorMessage, L"Error occured during upload operation: No data in argument(s)");
}

}  // namespace
