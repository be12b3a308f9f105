#include <gtest/gtest.h>

#include <cstring>

#include "ca/CryptPacket.h"
#include "base/Encode.h"
#include "tests/support/TestSupport.h"

namespace {

// ReadInto parses buffer (JSON, NUL, bytes) into request and returns the code thrown, or 0.
uint32_t ReadInto(ca::CryptRequest& request, std::string& buffer) {
    try {
        request.FromJson(buffer.data(), static_cast<uint32_t>(buffer.size()));
    } catch (const ca::Exception& e) {
        return e.code;
    }
    return 0;
}

std::string FileText(const ca::SerializableContainer& container) {
    const uint8_t* data = container.GetFileData();
    return data == nullptr ? "<none>" : std::string(reinterpret_cast<const char*>(data), container.GetFileDataSize());
}

std::string Json(const ca::CryptRequest& request) {
    rapidjson::StringBuffer buffer;
    request.ToJson(buffer);
    return buffer.GetString();
}

std::string Json(const ca::CryptResponse& response) {
    rapidjson::StringBuffer buffer;
    response.ToJson(buffer);
    return buffer.GetString();
}

TEST(RequestRead, ProbeReadsOnlyItsFourKeys) {
    std::string text = R"({"mode":14,"test":true,"extInitParams":"A=1;","clientId":"c","senderCertId":"s",)"
                       R"("comment":"x","isAttached":"not even a bool","fileData":"QUJD","uploadUrl":"http://h/"})";
    ca::CryptRequest request;
    ASSERT_EQ(ReadInto(request, text), 0u);
    EXPECT_EQ(request.mode, 14u);
    EXPECT_TRUE(request.test);
    EXPECT_EQ(request.presenceMask, ca::kBitTest);
    EXPECT_EQ(request.extInitParams, L"A=1;");
    EXPECT_EQ(request.clientId, L"c");
    EXPECT_EQ(request.senderCertId, L"");
    EXPECT_EQ(request.comment, L"");
    EXPECT_EQ(request.uploadUrl, L"");
    EXPECT_EQ(request.GetFileData(), nullptr);
}

TEST(RequestRead, FieldsFlagsAndPrecedence) {
    std::string text = R"({"mode":56,"clientId":"\u0416","senderCertId":7,"recipientCertId":"r","certInclude":2,)"
                       R"("signerIndex":0,"isAttached":false,"streamFinalChunk":true,"streamId":9,"comment":"c",)"
                       R"("uri":"u","hashAlg":"GOST","params":"QUJD","sendSignData":"QUJD","signatures":["QQ=="],)"
                       R"("uploadUrl":null,"redirected":true})";
    ca::CryptRequest request;
    ASSERT_EQ(ReadInto(request, text), 0u);
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
}

TEST(RequestRead, SignaturesListWhenNoSendSignData) {
    std::string text = R"({"mode":15,"signatures":["QQ==","QUI="]})";
    ca::CryptRequest request;
    ASSERT_EQ(ReadInto(request, text), 0u);
    ASSERT_EQ(request.signatures.size(), 2u);
    EXPECT_EQ(request.signatures.back().size, 2u);
}

TEST(RequestRead, RawBytesMustFitBehindTheNul) {
    const struct {
        uint32_t declared;
        uint32_t code;
    } cases[] = {{0, 0}, {3, 0}, {4, ca::kNoDataInArgs}, {4294967295u, ca::kNoDataInArgs}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.declared);
        std::string text = R"({"mode":11,"storeAddress":"x","fileDataSize":)" + std::to_string(c.declared) + "}";
        text += std::string(1, '\0') + "ABC";
        ca::CryptRequest request;
        ASSERT_EQ(ReadInto(request, text), c.code);
        if (c.code == 0) {
            EXPECT_TRUE(request.binaryFileData);
            EXPECT_EQ(FileText(request), std::string("ABC").substr(0, c.declared));
            EXPECT_EQ(request.Objects().size(), 1u);  // "storeAddress" is not read beside raw bytes
        }
    }
}

TEST(RequestPreParse, EncodedSizeLiftsThePayloadOutOfTheText) {
    const struct {
        const char* text;
        bool lifted;
        const char* textAfter;  // the JSON that the parser then sees
    } cases[] = {
        {R"({"fileDataEncodedSize":4,"fileData":"QUJD"})", true, R"({"fileDataEncodedSize":4,"fileData":""})"},
        {R"({"fileDataEncodedSize":5,"fileData":"QUJD"})", false, nullptr},  // the closing quote no longer fits
        {R"({"fileDataEncodedSize":0,"fileData":"QUJD"})", false, nullptr},
        {R"({"fileDataEncodedSize": 4,"fileData":"QUJD"})", false, nullptr},  // no blank before the digits
        {R"({"fileDataEncodedSize":4 ,"fileData":"QUJD"})", true, R"({"fileDataEncodedSize":4 ,"fileData":""})"},
        {R"({"fileDataEncodedSize":4,"fileData": "QUJD"})", false, nullptr},
        {R"({"fileDataEncodedSize":4})", false, nullptr},
        {R"({"fileData":"QUJD","fileDataEncodedSize":4})", false, nullptr},
        {R"({"fileDataEncodedSize":99999999999999999999999999999999999,"fileData":"QUJD"})", false, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::string buffer = c.text + std::string(1, '\0');
        ca::CryptRequest probe;
        const bool lifted = probe.PreParseFileData(buffer.data(), buffer.size());
        EXPECT_EQ(lifted, c.lifted);
        if (c.lifted) {
            EXPECT_EQ(FileText(probe), "ABC");
            if (c.textAfter != nullptr) {
                EXPECT_STREQ(buffer.c_str(), c.textAfter);
            }
        } else {
            EXPECT_STREQ(buffer.c_str(), c.text);  // a declined pre-parse leaves the text alone
        }
    }
}

TEST(RequestPreParse, LiftedPayloadSkipsOtherFileDataForms) {
    std::string text = R"({"fileDataEncodedSize":4,"fileData":"QUJD","mode":11,"fileDataSize":2,"storeAddress":"s"})";
    text += std::string(1, '\0') + "XY";
    ca::CryptRequest request;
    ASSERT_EQ(ReadInto(request, text), 0u);
    EXPECT_EQ(FileText(request), "ABC");
    EXPECT_FALSE(request.binaryFileData);
    EXPECT_EQ(request.mode, 11u);
}

TEST(RequestWrite, KeyOrderAndParameterKey) {
    ca::CryptRequest request;
    request.mode = 56;
    request.clientId = L"c";
    request.extInitParams = L"E=1;";
    request.recipientCertId = L"r";
    request.presenceMask = ca::kBitStreamId | ca::kBitTest | ca::kBitCertInclude | ca::kBitAddSigner;
    request.certInclude = 1;
    request.streamId = 3;
    request.uri = L"u";
    request.params.data = ca::CopyBlob(reinterpret_cast<const uint8_t*>("AB"), 2);
    request.params.size = 2;
    request.uploadUrl = L"http://x/";
    request.binaryFileData = true;
    request.SetObject(std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>("xyz"), 3), false);
    EXPECT_EQ(Json(request),
              R"({"mode":56,"extInitParams":"E=1;","clientId":"c","recipientCertId":"r","test":false,)"
              R"("certInclude":1,"addSigner":false,"streamId":3,"uri":"u","hashAlg":"QUI=",)"
              R"("uploadUrl":"http://x/","redirected":false,"fileDataSize":3})");
    request.mode = 14;
    request.binaryFileData = false;
    EXPECT_NE(Json(request).find(R"("params":"QUI=","uploadUrl")"), std::string::npos);
    EXPECT_NE(Json(request).find(R"("fileData":"eHl6"})"), std::string::npos);
}

TEST(RequestWrite, ReadBackGivesTheSameText) {
    std::string text = R"({"mode":15,"clientId":"c","senderCertId":"s","isAttached":true,"comment":"k",)"
                       R"("sendSignData":"QUJD","redirected":false,"fileData":"QUJD"})";
    ca::CryptRequest request;
    ASSERT_EQ(ReadInto(request, text), 0u);
    EXPECT_EQ(Json(request), R"({"mode":15,"clientId":"c","senderCertId":"s","isAttached":true,"comment":"k",)"
                             R"("sendSignData":"QUJD","redirected":false,"fileData":"QUJD"})");
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
    response.SetObject(std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>("ABC"), 3), false);
    EXPECT_EQ(Json(response), R"({"errorCode":16109,"errorMessage":"DONE Invalid","needCertId":"id","streamId":4,)"
                              R"("sendSignData":"QQ==","fileData":"QUJD","signInfo":4,"isAttached":true,"certInfo":6})");
    response.binaryFileData = true;
    EXPECT_NE(Json(response).find(R"("fileDataSize":3,"signInfo")"), std::string::npos);
    response.SetObject(std::make_unique<CFakeRecord>(7), true);
    EXPECT_EQ(response.Objects().size(), 1u);  // the clearing form drops every earlier record
}

TEST(ResponseRead, ReadsFieldsAndRawBytes) {
    std::string text = R"({"errorCode":16104,"errorMessage":"NEED","needCertId":"x","streamId":2,)"
                       R"("isAttached":true,"fileDataSize":2})";
    text += std::string(1, '\0') + "hi";
    ca::CryptResponse response;
    response.FromJson(text.data(), static_cast<uint32_t>(text.size()));
    EXPECT_EQ(response.errorCode, 16104u);
    EXPECT_EQ(response.needCertId, L"x");
    EXPECT_TRUE(response.isAttached);
    EXPECT_TRUE(response.binaryFileData);
    EXPECT_EQ(FileText(response), "hi");

    std::string shortText = R"({"errorCode":0,"fileDataSize":3})" + std::string(1, '\0') + "hi";
    ca::CryptResponse truncated;
    try {
        truncated.FromJson(shortText.data(), static_cast<uint32_t>(shortText.size()));
        ADD_FAILURE() << "accepted a lying fileDataSize";
    } catch (const ca::Exception& e) {
        EXPECT_EQ(e.code, ca::kNoDataInArgs);
    }
}

TEST(PacketDecoders, ReplaceThePayloadInPlace) {
    ca::CryptPacket packet;
    const std::string pem = "-----BEGIN CERTIFICATE-----\nQUJD\n-----END CERTIFICATE-----";
    packet.request.SetObject(std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>(pem.data()),
                                                            static_cast<uint32_t>(pem.size())),
                             false);
    packet.request.SetObject(std::make_unique<CFakeRecord>(8), false);
    packet.CertBase64FormattedDecodeIfNeeded();
    EXPECT_EQ(FileText(packet.request), "ABC");
    EXPECT_EQ(packet.request.Objects().size(), 1u);  // replacing the data clears the map on purpose

    packet.request.isAttached = false;
    const std::string armoured = "-----BEGIN CMS-----QUI=-----END CMS-----";
    packet.request.sendSignData.data = ca::CopyBlob(reinterpret_cast<const uint8_t*>(armoured.data()), armoured.size());
    packet.request.sendSignData.size = static_cast<uint32_t>(armoured.size());
    packet.SignBase64FormattedDecodeIfNeeded();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(packet.request.sendSignData.data.get()),
                          packet.request.sendSignData.size),
              "AB");
    EXPECT_EQ(FileText(packet.request), "ABC");  // the detached form leaves the file data alone
}

TEST(PacketUpload, MissingAddressAnswers16305) {
    ca::CryptPacket packet;
    packet.response.SetObject(std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>("A"), 1), false);
    packet.UploadFileData(30000);
    EXPECT_EQ(packet.response.errorCode, ca::kUploadError);
    EXPECT_EQ(packet.response.errorMessage,
              L"Error occured during upload operation: No data in argument(s)");
}

}  // namespace
