#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "base/Lng.h"
#include "ca/CertInfo2.h"
#include "ca/CryptPacket.h"
#include "ca/RecordFactory.h"
#include "ca/SignInfo.h"
#include "ca/StoreAddress.h"
#include "ca/VerificationResult.h"
#include "tests/support/TestSupport.h"

namespace {

// Read fills record from text and returns the code thrown, or 0.
template <typename T>
uint32_t Read(T& record, const std::string& text) {
    rapidjson::Document doc;
    return CodeOf([&] {
        ca::ParseJson(doc, text.data(), text.size());
        record.FromJson(doc);
    });
}

const std::string kFreshVerifyResult =
    R"({"SignatureVerifyResult":16199,"SignatureVerifyResultString":"Signature was not verified",)"
    R"("CertificateVerifyResult":16199,"CertificateVerifyResultString":"Certificate was not verified"})";

const std::string kFreshCertInfo2Keys =
    R"("Id":"","Validity":"","ValidityNumber":0,"Version":"","Serial":"","SignatureAlg":"","HashAlg":"",)"
    R"("Issuer":"","OIDIssuer":"","X500NameIssuer":"","ValidFrom":"","ValidFromUTC":"","ValidTo":"",)"
    R"("ValidToUTC":"","Description":"","OIDDescription":"","X500Description":"","SubjectTags":"",)"
    R"("IssuerTags":"","PublicKeyAlg":"","PublicKey":"","PublicKeyParams":"","HasPrivateKey":false,)"
    R"("IssuerUniqueId":"","SubjectUniqueId":"","PublicKeyHashAlgs":"","RawData":"","KeyUsage":0,)"
    R"("KeyUsageStr":"","Error":"","Extensions":[])";

// A fresh verification result says nothing was verified, in the language of the moment.
TEST(Records, FreshRecordsWriteEveryKeyInOrder) {
    CLanguageScope language(L"ru");
    const ca::VerificationResult inRussian;
    EXPECT_EQ(inRussian.signatureText + L"|" + inRussian.certificateText,
              L"Подпись не проверялась|Сертификат не проверялся");
    SetVALKOLng(L"en");
    EXPECT_EQ(Json(ca::VerificationResult()), kFreshVerifyResult);
    ca::VerificationResult result;
    ASSERT_EQ(Read(result, R"({"SignatureVerifyResult":0})"), 0u);  // only present keys are read
    EXPECT_EQ(Json(result), R"({"SignatureVerifyResult":0)" + kFreshVerifyResult.substr(30));
    ca::CertInfo2 cert;
    EXPECT_EQ(Json(cert), "{" + kFreshCertInfo2Keys + "}");
    cert.issuerCert = std::make_unique<ca::CertInfo2>();
    EXPECT_EQ(Json(cert), "{" + kFreshCertInfo2Keys + R"(,"IssuerCert":{)" + kFreshCertInfo2Keys + "}}");
    cert.extensions.items.push_back({L"Key Usage", L"2.5.29.15", L"AwIGwA==", L"Ж \"q\"", true});
    EXPECT_THAT(Json(cert),
                HasSubstr(R"("Extensions":[{"OidFriendlyName":"Key Usage","OidValue":"2.5.29.15",)"
                          R"("RawData":"AwIGwA==","FormattedData":"Ж \"q\"","Critical":true}],)"));

    // A signer: its verdict first, then its texts, certificates and co-signers (every key of each
    // record reads back: EveryKeyReadsBackToTheSameText).
    ca::SignInfo signer;
    EXPECT_THAT(Json(signer),
                StartsWith(R"({"VerifyResultEx":)" + kFreshVerifyResult + R"(,"VerifyResult":"",)"));
    for (const char* part :
         {R"("IsAttached":false,"SignCert":{"Id":"",)", R"(]},"AttrCert":{"Id":"","HolderSerial")",
          R"("Attributes":[],"Extensions":[]},"CoSigners":[],"Extensions":[]})"}) {
        EXPECT_THAT(Json(signer), HasSubstr(part));
    }
    signer.extensions.push_back({L"n", L"1.2", L"s", L"d"});
    EXPECT_THAT(Json(signer),
                HasSubstr(R"("Extensions":[{"ExtensionName":"n","ExtensionOID":"1.2",)"
                          R"("ExtensionInterpretedString":"s","ExtensionInterpretedData":"d"}]})"));
}

// Distinct gives every string, number and false of a value one of its own.
void Distinct(ca::JsonValue& value, rapidjson::Document::AllocatorType& allocator, unsigned& n) {
    if (value.IsObject()) {
        for (auto& member : value.GetObject()) {
            Distinct(member.value, allocator, n);
        }
    } else if (value.IsArray()) {
        for (auto& item : value.GetArray()) {
            Distinct(item, allocator, n);
        }
    } else if (value.IsString()) {
        value.SetString(("v" + std::to_string(n++)).c_str(), allocator);
    } else if (value.IsNumber() || value.IsBool()) {
        value.IsNumber() ? value.SetUint(100 + n++) : value.SetBool(true);
    }
}

// Make is an empty record of a type: the envelope's, or one of the two collections inside them.
std::unique_ptr<ca::ISerializable> Make(int type) {
    if (type == ca::kTypeCertInfoExtensions) {
        return std::make_unique<ca::CertInfoExtensionCollection>();
    }
    if (type == ca::kTypeCertInfoAttributes) {
        return std::make_unique<ca::CertInfoAttributeCollection>();
    }
    return ca::CreateRecord(type);
}

// Each record, seeded with one entry in every list, is written with distinct values everywhere;
// reading that text back must give the same text, so a key written but not read shows up.
TEST(Records, EveryKeyReadsBackToTheSameText) {
    const std::pair<int, const char*> seeds[] = {
        {ca::kTypeVerifyResult, "{}"},
        {ca::kTypeCertInfo, R"({"Extensions":[{}],"IssuerCert":{"IssuerCert":{}}})"},
        {ca::kTypeCertInfos, R"([{"Extensions":[{}],"IssuerCert":{"IssuerCert":{}}},{}])"},
        {ca::kTypeSignInfo,
         R"([{"CoSigners":[{"CoSigners":[{}]}],"Extensions":[{}],"SignCert":{"Extensions":[{}]},)"
         R"("AttrCert":{"Attributes":[{}],"Extensions":[{}]}}])"},
        {ca::kTypeSignInfoArray, R"([[],[{"CoSigners":[{}],"Extensions":[{}]}]])"},
        {ca::kTypeCertForCheck, R"({"Cert":{"Extensions":[{}],"IssuerCert":{}}})"},
        {ca::kTypeAttrCertInfo, R"({"Attributes":[{},{}],"Extensions":[{},{}]})"},
        {ca::kTypeCertInfoExtensions, R"([{},{}])"},
        {ca::kTypeCertInfoAttributes, R"([{}])"}};
    for (const auto& [type, seed] : seeds) {
        SCOPED_TRACE(seed);
        const auto seeded = Make(type);
        ASSERT_EQ(Read(*seeded, seed), 0u);
        rapidjson::Document text;
        text.Parse(Json(*seeded).c_str());
        unsigned n = 0;
        Distinct(text, text.GetAllocator(), n);
        const auto record = Make(type);
        EXPECT_EQ(record->GetType(), type);
        ASSERT_EQ(Read(*record, Json(text)), 0u);
        EXPECT_EQ(Json(*record), Json(text));
    }
}

TEST(Records, MistypedValuesThrow16300) {
    const std::pair<int, const char*> cases[] = {
        {ca::kTypeSignInfo, R"([{"IsAttached":"yes"}])"},
        {ca::kTypeSignInfo, R"([{"CoSigners":{}}])"},
        {ca::kTypeSignInfo, R"([{"CoSigners":[{"SignId":7}]}])"},
        {ca::kTypeSignInfo, R"([{"VerifyResultEx":[]}])"},
        {ca::kTypeSignInfo, R"([{"Extensions":[{"ExtensionOID":null}]}])"},
        {ca::kTypeSignInfo, R"([{"SignCert":{"Extensions":[{"Critical":1}]}}])"},
        {ca::kTypeSignInfo, R"({})"},
        {ca::kTypeSignInfo, R"([5])"},
        {ca::kTypeSignInfoArray, R"([[{"Uri":false}]])"},
        {ca::kTypeCertInfo, R"({"ValidityNumber":-1})"},
        {ca::kTypeCertInfo, R"({"KeyUsage":4294967296})"},
        {ca::kTypeCertInfo, R"({"KeyUsage":1.5})"},
        {ca::kTypeCertInfo, R"({"Id":5})"},
        {ca::kTypeCertInfo, R"({"Extensions":{}})"},
        {ca::kTypeCertInfo, R"({"IssuerCert":[]})"},
        {ca::kTypeCertInfo, R"({"IssuerCert":{"HasPrivateKey":"true"}})"},
        {ca::kTypeCertInfos, R"([{"Error":[]}])"},
        {ca::kTypeVerifyResult, R"({"SignatureVerifyResult":"0"})"},
        {ca::kTypeVerifyResult, R"([])"},
        {ca::kTypeCertForCheck, R"({"Cert":"x"})"},
        {ca::kTypeAttrCertInfo, R"({"Attributes":[{"OidValue":1}]})"},
        {ca::kTypeCertInfoExtensions, R"([{"Critical":"false"}])"},
        {ca::kTypeCertInfoAttributes, R"([{"OidValue":1}])"}};
    for (const auto& [type, json] : cases) {
        EXPECT_EQ(Read(*Make(type), json), ca::kJsonError) << json;
    }
    // A list that fails midway keeps the old one.
    ca::SignInfos infos;
    ASSERT_EQ(Read(infos, R"([{"SignId":"a"}])"), 0u);
    EXPECT_EQ(Read(infos, R"([{"SignId":"b"},{"SignId":2}])"), ca::kJsonError);
    ASSERT_EQ(infos.items.size(), 1u);
    EXPECT_EQ(infos.items[0]->signId, L"a");
}

// Nested builds levels records, each inside the previous one's key.
std::string Nested(const char* key, bool inArray, size_t levels) {
    std::string text = "{}";
    for (size_t i = 0; i < levels; ++i) {
        text = std::string("{\"") + key + "\":" + (inArray ? "[" + text + "]" : text) + "}";
    }
    return text;
}

TEST(Records, NestingIsBoundedAtSixteenLevels) {
    ca::SignInfo signer;
    EXPECT_EQ(Read(signer, Nested("CoSigners", true, ca::kMaxRecordNesting)), 0u);
    EXPECT_EQ(Read(signer, Nested("CoSigners", true, ca::kMaxRecordNesting + 1)), ca::kJsonError);
    ca::CertInfo2 cert;
    EXPECT_EQ(Read(cert, Nested("IssuerCert", false, ca::kMaxRecordNesting)), 0u);
    EXPECT_EQ(Read(cert, Nested("IssuerCert", false, ca::kMaxRecordNesting + 1)), ca::kJsonError);
}

TEST(Records, CertInfo2CopiesAreDeep) {
    ca::CertInfo2 original;
    ASSERT_EQ(Read(original, R"({"Id":"leaf","IssuerCert":{"Id":"ca","IssuerCert":{}}})"), 0u);
    ca::CertInfo2 copy(original);
    copy.issuerCert->id = L"changed";
    EXPECT_EQ(original.issuerCert->id, L"ca");
    // Assigning a record from its own issuer must copy before the old chain goes.
    original = *original.issuerCert;
    EXPECT_EQ(original.id, L"ca");
    ASSERT_NE(original.issuerCert, nullptr);
    EXPECT_EQ(original.issuerCert->issuerCert, nullptr);

    ca::CertInfo older;
    copy.x500Description = L"CN=x";
    older.CopyFrom(copy);
    EXPECT_EQ(older.x500NameDescription + L"|" + older.id, L"CN=x|leaf");
}

// Where the records sit in a response is checked with stand-ins (EnvelopeTest); here, that they read.
TEST(Records, ResponseCarriesTheRecords) {
    CLanguageScope english(L"en");
    std::string text =
        R"({"errorCode":0,"errorMessage":"DONE","certInfo":{"Id":"c","IssuerCert":{"Id":"i"}},)"
        R"("signInfo":[{"SignId":"s","CoSigners":[{"SignId":"t"}]}],"verifyResult":)"
        R"({"CertificateVerifyResult":0}})";
    ca::CryptResponse back;
    back.FromJson(text.data(), static_cast<uint32_t>(text.size()));
    for (const char* needle :
         {R"("certInfo":{"Id":"c",)", R"("IssuerCert":{"Id":"i",)", R"("CoSigners":[{"VerifyResultEx")",
          R"("SignId":"t",)", R"("verifyResult":{"SignatureVerifyResult":16199,)",
          R"("CertificateVerifyResult":0,)"}) {
        EXPECT_THAT(Json(back), HasSubstr(needle));
    }
}

TEST(StoreAddress, ParseTextForms) {
    // The text, and what it gives as "location|name|address".
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"sslm:\\\\HOST\\My", L"3|\\\\HOST\\My|\\"},  // the leading backslash is the separator found
        {L"sscu:My", L"1|My|"},
        {L"SSLM:My", L"3|My|"},
        {L"xyz:My", L"0|My|"},
        {L"remote", L"9|remote|"},  // no colon: the whole text is both parts
        {L":", L"0||"},
        {L"sss:a:b", L"6|a:b|"}};
    for (const auto& [text, parts] : cases) {
        ca::StoreAddress address;
        address.Parse(text);
        EXPECT_EQ(
            std::to_wstring(address.GetLocation()) + L"|" + address.GetName() + L"|" + address.GetAddress(),
            parts);
        EXPECT_FALSE(address.IsEmpty());
    }
}

TEST(StoreAddress, AddressNormalisationLocalityAndNames) {
    const struct {
        const wchar_t* code;
        const wchar_t* address;
        const wchar_t* normalised;
        bool valid;
        bool local;
    } cases[] = {{L"sslm", L"", L"\\\\LOCALHOST", true, true},
                 {L"sslmgp", L"", L"\\\\LOCALHOST", true, true},
                 {L"sslm", L"127.0.0.1", L"\\\\127.0.0.1", true, true},
                 {L"sss", L"\\far.example.org", L"\\\\far.example.org", true, false},
                 {L"sscu", L"far", L"\\\\far", true, true},  // sscu is local whatever the address
                 {L"remote", L"localhost", L"\\\\localhost", true, false},
                 {L"sslm", L"\\\\a\\b", L"\\\\a\\b", false, false},
                 {L"ssu", L"a b", L"\\\\a b", false, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::wstring(c.code) + L" " + c.address);
        const ca::StoreAddress address(c.code, c.address, L"MY");
        EXPECT_EQ(address.GetAddress(), c.normalised);
        EXPECT_EQ(address.IsValid(), c.valid);
        EXPECT_EQ(address.IsLocal(), c.local);
        EXPECT_TRUE(address.IsMy());
    }
    EXPECT_TRUE(ca::StoreAddress(L"", L"", L"valkotempstore").IsTempStore());
    EXPECT_EQ(ca::StoreAddress(L"MY", true).GetFullAddress(), L"sslm:\\\\LOCALHOST\\MY");
    EXPECT_EQ(ca::StoreAddress(L"MY", false).GetFullAddress(), L"sscu:MY");
}

TEST(StoreAddress, JsonFormsAndFilter) {
    EXPECT_EQ(Json(ca::StoreAddress()), "{}");
    rapidjson::Document doc;
    doc.Parse(
        R"([{"name":"VALKOTempStore"},{},{"address":"ignored"},{"location":"REMOTE","address":"h","name":"x"}])");
    ca::StoreAddresses list;
    list.FromJson(doc);
    ASSERT_EQ(list.items.size(), 4u);
    EXPECT_TRUE(list.items[0].IsTempStore());
    EXPECT_TRUE(list.items[1].IsEmpty());
    EXPECT_TRUE(list.items[2].IsEmpty());  // an address alone sets nothing
    EXPECT_TRUE(list.items[3].IsRemote());
    EXPECT_EQ(Json(list), R"([{"location":"","address":"","name":"VALKOTempStore"},{},{},)"
                          R"({"location":"remote","address":"\\\\h","name":"x"}])");
    EXPECT_EQ(ca::FilterAddresses(list, [](const ca::StoreAddress& a) { return a.IsEmpty(); }), 2);
    EXPECT_EQ(list.items.size(), 2u);
    doc.Parse(R"({"name":5})");
    EXPECT_THROW(ca::StoreAddress().FromJson(doc), ca::Exception);
}

}  // namespace
