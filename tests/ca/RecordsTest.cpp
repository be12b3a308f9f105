#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "ca/CertInfo2.h"
#include "ca/CryptPacket.h"
#include "ca/RecordFactory.h"
#include "ca/SignInfo.h"
#include "ca/VerificationResult.h"
#include "base/Lng.h"

namespace {

template <typename T>
std::string Json(const T& record) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    record.ToJson(writer);
    return buffer.GetString();
}

// Read fills record from text and returns the code thrown, or 0.
template <typename T>
uint32_t Read(T& record, const std::string& text) {
    try {
        rapidjson::Document doc;
        ca::ParseJson(doc, text.data(), text.size());
        record.FromJson(doc);
    } catch (const ca::Exception& e) {
        return e.code;
    }
    return 0;
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

class Records : public ::testing::Test {
protected:
    void SetUp() override { SetVALKOLng(L"en"); }
    void TearDown() override { SetVALKOLng(L"en"); }
};

TEST_F(Records, FreshVerificationResultSaysNothingWasVerified) {
    EXPECT_EQ(Json(ca::VerificationResult()), kFreshVerifyResult);
    SetVALKOLng(L"ru");
    const ca::VerificationResult russian;
    SetVALKOLng(L"en");
    EXPECT_EQ(russian.signatureText, L"Подпись не проверялась");
    EXPECT_EQ(russian.certificateText, L"Сертификат не проверялся");
}

TEST_F(Records, VerificationResultReadsOnlyPresentKeys) {
    ca::VerificationResult result;
    ASSERT_EQ(Read(result, R"({"SignatureVerifyResult":0})"), 0u);
    EXPECT_EQ(Json(result),
              R"({"SignatureVerifyResult":0,"SignatureVerifyResultString":"Signature was not verified",)"
              R"("CertificateVerifyResult":16199,)"
              R"("CertificateVerifyResultString":"Certificate was not verified"})");
}

TEST_F(Records, CertInfo2EndsWithExtensionsOrANestedIssuer) {
    ca::CertInfo2 cert;
    EXPECT_EQ(Json(cert), "{" + kFreshCertInfo2Keys + "}");
    cert.issuerCert = std::make_unique<ca::CertInfo2>();
    EXPECT_EQ(Json(cert), "{" + kFreshCertInfo2Keys + R"(,"IssuerCert":{)" + kFreshCertInfo2Keys + "}}");

    cert.extensions.items.push_back({L"Key Usage", L"2.5.29.15", L"AwIGwA==", L"Ж \"q\"", true});
    EXPECT_NE(
        Json(cert).find(R"("Extensions":[{"OidFriendlyName":"Key Usage","OidValue":"2.5.29.15",)"
                        R"("RawData":"AwIGwA==","FormattedData":"Ж \"q\"","Critical":true}],"IssuerCert")"),
        std::string::npos);
}

TEST_F(Records, FreshSignInfoWritesEveryKeyAndEmptyLists) {
    EXPECT_EQ(
        Json(ca::SignInfo()),
        R"({"VerifyResultEx":)" + kFreshVerifyResult +
            R"(,"VerifyResult":"","SignId":"","Comment":"","Uri":"","SignTime":"","SignTimeUTC":"",)"
            R"("SignAlg":"","HashAlg":"","IsAttached":false,"SignCert":{"Id":"","Serial":"","Issuer":"",)"
            R"("OIDIssuer":"","X500NameIssuer":"","Description":"","OIDDescription":"",)"
            R"("X500NameDescription":"","SubjectTags":"","IssuerTags":"","ValidFrom":"","ValidFromUTC":"",)"
            R"("ValidTo":"","ValidToUTC":"","RawData":"","Extensions":[]},"AttrCert":{"Id":"",)"
            R"("HolderSerial":"","HolderIssuer":"","HolderOIDIssuer":"","HolderX500NameIssuer":"",)"
            R"("HolderIssuerTags":"","Validity":"","ValidityNumber":0,"Version":"","Serial":"",)"
            R"("SignatureAlg":"","HashAlg":"","Issuer":"","OIDIssuer":"","X500NameIssuer":"",)"
            R"("ValidFrom":"","ValidFromUTC":"","ValidTo":"","ValidToUTC":"","IssuerTags":"",)"
            R"("IssuerUniqueId":"","RawData":"","Error":"","Attributes":[],"Extensions":[]},)"
            R"("CoSigners":[],"Extensions":[]})");
}

TEST_F(Records, CoSignersOfCoSignersAreWrittenNested) {
    ca::SignInfo top;
    top.coSigners.push_back(std::make_unique<ca::SignInfo>());
    top.coSigners[0]->signId = L"c1";
    top.coSigners[0]->coSigners.push_back(std::make_unique<ca::SignInfo>());
    top.coSigners[0]->coSigners[0]->signId = L"c2";
    top.extensions.push_back({L"n", L"1.2", L"s", L"d"});

    const std::string text = Json(top);
    rapidjson::Document doc;
    ca::ParseJson(doc, text.data(), text.size());
    const ca::JsonValue& inner = doc["CoSigners"][0]["CoSigners"][0];
    EXPECT_STREQ(inner["SignId"].GetString(), "c2");
    EXPECT_TRUE(inner["CoSigners"].IsArray() && inner["CoSigners"].Empty());
    EXPECT_NE(text.find(R"("Extensions":[{"ExtensionName":"n","ExtensionOID":"1.2",)"
                        R"("ExtensionInterpretedString":"s","ExtensionInterpretedData":"d"}]})"),
              std::string::npos);

    ca::SignInfo back;
    ASSERT_EQ(Read(back, text), 0u);
    ASSERT_EQ(back.coSigners.size(), 1u);
    ASSERT_EQ(back.coSigners[0]->coSigners.size(), 1u);
    EXPECT_EQ(back.coSigners[0]->coSigners[0]->signId, L"c2");
}

// Every record starts with its lists non-empty; Distinct then turns each default value of its
// text into a distinct one, so a key that is written but not read back shows up.
struct SRoundTrip {
    const char* name;
    std::function<std::unique_ptr<ca::ISerializable>()> seed;
    std::function<std::unique_ptr<ca::ISerializable>()> empty;
};

std::string Distinct(const std::string& text) {
    std::string out;
    int n = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\"\"") == 0) {
            out += "\"v" + std::to_string(n++) + "\"";
            ++i;
        } else if (text.compare(i, 5, "false") == 0) {
            out += "true";
            i += 4;
        } else if (text.compare(i, 3, ":0,") == 0 || text.compare(i, 3, ":0}") == 0) {
            out += ":" + std::to_string(100 + n++);
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

// Seeded puts codes and texts other than the initial ones into a verification result.
void Seeded(ca::VerificationResult& result) {
    result.signatureResult = 1;
    result.signatureText = L"s";
    result.certificateResult = 2;
    result.certificateText = L"c";
}

std::unique_ptr<ca::SignInfo> SeedSigner() {
    auto signer = std::make_unique<ca::SignInfo>();
    Seeded(signer->verifyResultEx);
    signer->coSigners.push_back(std::make_unique<ca::SignInfo>());
    signer->extensions.emplace_back();
    signer->signCert.extensions.items.emplace_back();
    signer->attrCert.attributes.items.emplace_back();
    signer->attrCert.extensions.items.emplace_back();
    return signer;
}

std::unique_ptr<ca::CertInfo2> SeedCert() {
    auto cert = std::make_unique<ca::CertInfo2>();
    cert->extensions.items.emplace_back();
    cert->issuerCert = std::make_unique<ca::CertInfo2>();
    cert->issuerCert->issuerCert = std::make_unique<ca::CertInfo2>();
    return cert;
}

const SRoundTrip kRoundTrips[] = {
    {"VerificationResult",
     [] {
         auto result = std::make_unique<ca::VerificationResult>();
         Seeded(*result);
         return result;
     },
     [] { return ca::CreateRecord(ca::kTypeVerifyResult); }},
    {"CertInfo2", [] { return SeedCert(); }, [] { return ca::CreateRecord(ca::kTypeCertInfo); }},
    {"CertInfos2",
     [] {
         auto list = std::make_unique<ca::CertInfos2>();
         list->items.push_back(SeedCert());
         list->items.push_back(std::make_unique<ca::CertInfo2>());
         return list;
     },
     [] { return ca::CreateRecord(ca::kTypeCertInfos); }},
    {"SignInfos",
     [] {
         auto list = std::make_unique<ca::SignInfos>();
         list->items.push_back(SeedSigner());
         return list;
     },
     [] { return ca::CreateRecord(ca::kTypeSignInfo); }},
    {"SignInfosArray",
     [] {
         auto array = std::make_unique<ca::SignInfosArray>();
         array->items.push_back(std::make_unique<ca::SignInfos>());
         array->items.push_back(std::make_unique<ca::SignInfos>());
         array->items[1]->items.push_back(SeedSigner());
         return array;
     },
     [] { return ca::CreateRecord(ca::kTypeSignInfoArray); }},
    {"CertForCheck",
     [] {
         auto pair = std::make_unique<ca::CertForCheck>();
         pair->cert = *SeedCert();
         return pair;
     },
     [] { return ca::CreateRecord(ca::kTypeCertForCheck); }},
    {"AttrCertInfo",
     [] {
         auto attr = std::make_unique<ca::AttrCertInfo>();
         attr->attributes.items.emplace_back();
         attr->extensions.items.emplace_back();
         return attr;
     },
     [] { return ca::CreateRecord(ca::kTypeAttrCertInfo); }},
    {"CertInfoExtensionCollection",
     [] {
         auto list = std::make_unique<ca::CertInfoExtensionCollection>();
         list->items.resize(2);
         return list;
     },
     [] { return std::make_unique<ca::CertInfoExtensionCollection>(); }},
    {"CertInfoAttributeCollection",
     [] {
         auto list = std::make_unique<ca::CertInfoAttributeCollection>();
         list->items.resize(2);
         return list;
     },
     [] { return std::make_unique<ca::CertInfoAttributeCollection>(); }},
};

TEST_F(Records, EveryKeyReadsBackToTheSameText) {
    for (const SRoundTrip& row : kRoundTrips) {
        SCOPED_TRACE(row.name);
        const auto seed = row.seed();
        const std::string text = Distinct(Json(*seed));
        ASSERT_EQ(text.find("\"\""), std::string::npos);
        const auto record = row.empty();
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->GetType(), seed->GetType());
        ASSERT_EQ(Read(*record, text), 0u);
        EXPECT_EQ(Json(*record), text);
    }
}

struct SBadValue {
    int type;  // envelope type id; 18: an extension collection
    const char* json;
};

const SBadValue kBadValues[] = {
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
    {18, R"([{"Critical":"false"}])"},
};

TEST_F(Records, MistypedValuesThrow16300) {
    for (const SBadValue& c : kBadValues) {
        SCOPED_TRACE(c.json);
        auto record =
            c.type == 18 ? std::make_unique<ca::CertInfoExtensionCollection>() : ca::CreateRecord(c.type);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(Read(*record, c.json), ca::kJsonError);
    }
}

TEST_F(Records, FailedListReadKeepsTheOldList) {
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

TEST_F(Records, NestingIsBoundedAtSixteenLevels) {
    ca::SignInfo signer;
    EXPECT_EQ(Read(signer, Nested("CoSigners", true, ca::kMaxRecordNesting)), 0u);
    EXPECT_EQ(Read(signer, Nested("CoSigners", true, ca::kMaxRecordNesting + 1)), ca::kJsonError);
    ca::CertInfo2 cert;
    EXPECT_EQ(Read(cert, Nested("IssuerCert", false, ca::kMaxRecordNesting)), 0u);
    EXPECT_EQ(Read(cert, Nested("IssuerCert", false, ca::kMaxRecordNesting + 1)), ca::kJsonError);
}

TEST_F(Records, CertInfo2CopiesAreDeep) {
    ca::CertInfo2 original = *SeedCert();
    original.id = L"leaf";
    original.issuerCert->id = L"ca";
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
    EXPECT_EQ(older.x500NameDescription, L"CN=x");
    EXPECT_EQ(older.id, L"leaf");
}

TEST_F(Records, KeyUsageNamesInBitOrder) {
    const std::pair<uint32_t, const wchar_t*> cases[] = {
        {0, L""},
        {0x80, L"Digital Signature"},
        {0xC0, L"Digital Signature, Non-Repudiation"},
        {0x06, L"Certificate Signing, Off-line CRL Signing, CRL Signing"},
        {0x8001, L"Encipher Only, Decipher Only"},
        {0x38, L"Key Encipherment, Data Encipherment, Key Agreement"},
        {0x100, L""},
    };
    for (const auto& [bits, text] : cases) {
        SCOPED_TRACE(bits);
        EXPECT_EQ(ca::CertInfo2::GetKeyUsageStr(bits), text);
    }
}

TEST_F(Records, ResponseCarriesTheRecords) {
    ca::CryptResponse response;
    auto infos = std::make_unique<ca::SignInfos>();
    infos->items.push_back(std::make_unique<ca::SignInfo>());
    infos->items[0]->signId = L"s";
    response.SetObject(std::move(infos), false);
    response.SetObject(std::make_unique<ca::VerificationResult>(), false);
    response.isAttached = true;
    rapidjson::StringBuffer buffer;
    response.ToJson(buffer);
    const std::string written = buffer.GetString();
    EXPECT_NE(
        written.find(R"("Extensions":[]}],"isAttached":true,"verifyResult":)" + kFreshVerifyResult + "}"),
        std::string::npos);

    std::string text =
        R"({"errorCode":0,"errorMessage":"DONE","certInfo":{"Id":"c","IssuerCert":{"Id":"i"}},)"
        R"("signInfo":[{"SignId":"s","CoSigners":[{"SignId":"t"}]}],"verifyResult":)"
        R"({"CertificateVerifyResult":0}})";
    ca::CryptResponse back;
    back.FromJson(text.data(), static_cast<uint32_t>(text.size()));
    const auto* cert = dynamic_cast<const ca::CertInfo2*>(back.GetObject(ca::kTypeCertInfo));
    ASSERT_NE(cert, nullptr);
    ASSERT_NE(cert->issuerCert, nullptr);
    EXPECT_EQ(cert->issuerCert->id, L"i");
    const auto* signers = dynamic_cast<const ca::SignInfos*>(back.GetObject(ca::kTypeSignInfo));
    ASSERT_NE(signers, nullptr);
    ASSERT_EQ(signers->items.size(), 1u);
    ASSERT_EQ(signers->items[0]->coSigners.size(), 1u);
    EXPECT_EQ(signers->items[0]->coSigners[0]->signId, L"t");
    const auto* result = dynamic_cast<const ca::VerificationResult*>(back.GetObject(ca::kTypeVerifyResult));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->certificateResult, 0u);
    EXPECT_EQ(result->signatureResult, 16199u);
}

}  // namespace
