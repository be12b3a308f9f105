// X.500 names, X.509 certificates and their records: the name texts and tables, the decoded key usage,
// hand-made edge certificates, and every Debian root against openssl.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "asn1/X509Extensions.h"
#include "base/Encode.h"
#include "ca/FromAsn1.h"
#include "tests/asn1/Asn1TestUtil.h"
#include "tests/support/Fixtures.h"

namespace {

using asn1test::FromHex;
using asn1test::SParsed;

// C=RU, O="A, B" (UTF8String), CN=X + serialNumber=12 (a multi-valued relative name).
const char kName[] =
    "3033310B3009060355040613025255310D300B060355040A0C04412C204231153008060355040313015830090603550405130231"
    "32";

// A version 1 certificate: serial 0A, issuer CN=X, UTCTimes 990101000000Z and 491231235959Z, an
// empty subject, an Ed25519 key, no extensions.
const char kV1Certificate[] =
    "308184306E02010A300D06092A864886F70D0101050500300C310A30080603550403130158301E170D393930313031303030"
    "3030305A170D3439313233313233353935395A3000302A300506032B65700321000000000000000000000000000000000000"
    "000000000000000000000000000000300D06092A864886F70D01010505000303000102";

std::string Output(const std::string& command) {
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return out;
    }
    char chunk[4096];
    for (size_t n; (n = std::fread(chunk, 1, sizeof(chunk), pipe)) > 0;) {
        out.append(chunk, n);
    }
    pclose(pipe);
    return out;
}

class X509 : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    CLanguageScope _english{L"en"};
};

TEST_F(X509, NameTextsUnderTheLayoutAndNamingBits) {
    SParsed parsed(kName);
    CAsn1DistinguishedName name(parsed.First());
    name.Decode();
    const std::pair<unsigned int, const wchar_t*> cases[] = {
        {0, L"C=RU,O=A, B,CN=X+OID.2.5.4.5=12"},
        {kNameDisplay, L"C=RU, O=A, B, CN=X+OID.2.5.4.5=12"},
        {kNameOidDisplay, L"2.5.4.6=RU, 2.5.4.10=A, B, 2.5.4.3=X+2.5.4.5=12"},
        {kNameX500, L"CN=X+OID.2.5.4.5=12,O=\"A, B\",C=RU"},
        {kNameLines, L"C=RU\r\nO=A, B\r\nCN=X+OID.2.5.4.5=12"},
        {kNameSemicolon | kNameMarkers, L"C=<RU>;O=<A, B>;CN=<X>+OID.2.5.4.5=<12>"},
    };
    for (const auto& [flags, text] : cases) {
        EXPECT_EQ(name.GetString(flags), text) << flags;
    }
    // A value that is no string shows its whole encoding; an embedded quote is doubled.
    SParsed number("3008 0603550403 020105");
    CAsn1x500Attribute attribute(number.First());
    attribute.Decode();
    EXPECT_EQ(attribute.text, L"#020105");
    SParsed quoted("300F 310D 300B 0603550403 1304 41222C42");
    CAsn1DistinguishedName withQuote(quoted.First());
    withQuote.Decode();
    EXPECT_EQ(withQuote.GetString(kNameQuote), L"CN=\"A\"\",B\"");

    const std::tuple<const wchar_t*, unsigned int, const wchar_t*> names[] = {
        {L"2.5.4.42", 0, L"G"},          {L"2.5.4.42", kNameSpki, L"GN"},
        {L"1.2.643.100.1", 0, L"OGRN"},  {L"1.2.643.100.1", kNameCapi, L"ОГРН"},
        {L"2.5.4.8", kNameCapi, L"S"},   {L"2.5.4.8", kNameSpki, L"ST"},
        {L"2.5.4.5", 0, L"OID.2.5.4.5"}, {L"1.2.840.113549.1.9.1", kNameSpki | kNameCapi, L"Email"},
    };
    for (const auto& [oid, flags, shortName] : names) {
        EXPECT_EQ(CAsn1x500Attribute::GetName(oid, flags), shortName) << ca::u16u8(oid) << " " << flags;
    }
}

TEST_F(X509, NameStringHelpers) {
    EXPECT_EQ(ca::GetX500NameTagsStr(L"CN=A\r\nG=B"), L"CN=A\r\nG=B\r\nGN=B");
    EXPECT_EQ(ca::GetX500NameTagsStr(L"EMAIL=m\r\nE=n\r\nnoequals\r\nOU=X\r\nOU=Y"),
              L"E=n\r\nEMAIL=m\r\nOU=X, Y");
    ca::X500NameMap map;
    ca::ParseX500Name(L"OU=X\r\nOU=Y=Z\r\n", map);
    EXPECT_EQ(map.at(L"OU"), L"X, Y=Z");
    const std::tuple<const wchar_t*, bool, const wchar_t*> formats[] = {
        {L"{CN} ({O}), {GN}{ST}", true, L"Ivan (Org), Ivan"},
        {L"{{CN}} {missing}", true, L"{CN} "},
        {L"{CN", false, L"-"},
        {L"CN}", false, L"-"},
    };
    for (const auto& [format, ok, expected] : formats) {
        std::wstring result = L"-";
        EXPECT_EQ(ca::FormatDistinguishedName(L"CN=Ivan\r\nO=Org\r\nG=Ivan", format, result), ok);
        EXPECT_EQ(result, expected) << ca::u16u8(format);
    }
}

TEST_F(X509, KeyUsageFromOneByteAndKeyLengthFromTheModulus) {
    EXPECT_EQ(CAsn1CertificateExtensionValueKeyUsage::GetKeyUsageStr(1 + 4 + 32),
              L"Цифровая подпись; Шифрование ключей; Подписывание сертификатов");
    EXPECT_EQ(CAsn1CertificateExtensionValueKeyUsage::GetKeyUsageStr(0), L"");
    EXPECT_EQ(ca::CertInfo2::GetKeyUsageStr(256 + 128), L"Только шифрование; Только расшифрование");
    // The extension value's content, and the usage decoded from it (decipherOnly never: one byte).
    const std::tuple<const char*, unsigned int> usages[] = {
        {"0404 030205A0", 5}, {"0405 03030780 80", 1}, {"0403 030100", 0}, {"0400", 0}};
    for (const auto& [hex, usage] : usages) {
        SParsed parsed(hex);
        CAsn1CertificateExtensionValueKeyUsage value(parsed.First());
        value.Decode();
        EXPECT_EQ(value.usage, usage) << hex;
        EXPECT_EQ(value.GetFormattedString(0), CAsn1CertificateExtensionValueKeyUsage::GetKeyUsageStr(usage));
    }
    // Deliberate: the leading zero octet is assumed, so a modulus without it reports 8 bits less.
    for (const auto& [key, bits] : {std::pair{"30820108 02820101" + std::string(514, '1') + "020103", 2048u},
                                    {"30820107 02820100" + std::string(512, '1') + "020103", 2040u}}) {
        SParsed parsed(key);
        CAsn1RSAPublicKey rsa(parsed.First());
        rsa.Decode();
        EXPECT_EQ(rsa.GetKeyLength(), bits);
    }
    EXPECT_EQ(GetHashAlgOid(L"1.2.840.113549.1.1.1"), L"1.3.14.3.2.26");
    EXPECT_EQ(GetHashAlgOid(L"1.2.643.7.1.1.3.3"), L"1.2.643.7.1.1.2.3");
    EXPECT_EQ(GetHashAlgOid(L"1.2.840.113549.1.1.11"), L"");  // outside the table
}

TEST_F(X509, VersionOneCertificateRecord) {
    ca::CDecoded<CAsn1Certificate> decoded(FromHex(kV1Certificate));
    EXPECT_EQ(decoded.Parser().Build(), FromHex(kV1Certificate));
    ca::CertInfo2 info;
    const time_t year2000 = 946684800;
    info.FromAsn1(decoded.Root(), year2000);
    EXPECT_EQ(info.id, L"0aCN=X");
    EXPECT_EQ(info.version, L"V1");
    // A UTCTime 99 reads as 1999 in the record, while the object keeps the designed 2099.
    EXPECT_EQ(info.validFromUTC + L"|" + info.validToUTC, L"01.01.1999 00:00:00|31.12.2049 23:59:59");
    EXPECT_EQ(decoded.Root().tbsCertificate->validity->notBefore->GetFormattedString(0),
              L"01.01.2099 00:00:00");
    EXPECT_EQ(info.validity + L"|" + std::to_wstring(info.validityNumber), L"VALID|0");
    info.FromAsn1(decoded.Root(), 0);
    EXPECT_EQ(info.validity + L"|" + std::to_wstring(info.validityNumber), L"NOT_YET_VALID|2");
    info.FromAsn1(decoded.Root(), 2600000000);
    EXPECT_EQ(info.validity + L"|" + std::to_wstring(info.validityNumber), L"EXPIRED|1");
    EXPECT_EQ(info.description, L"");
    EXPECT_EQ(info.hashAlg, L"1.3.14.3.2.26");
    EXPECT_EQ(info.publicKeyAlg + L"|" + info.publicKeyParams, L"1.3.101.112|");
    EXPECT_EQ(decoded.Root().tbsCertificate->subjectPublicKeyInfo->GetKeyLength(), 256u);
    EXPECT_NE(Json(info).find(R"("KeyUsage":0,"KeyUsageStr":"","Error":"","Extensions":[]})"),
              std::string::npos);
}

// Serials and dates are compared with openssl over the fixture set; here the real-world names.
TEST_F(X509, EveryDebianRootAgreesWithOpenssl) {
    const std::vector<std::string> paths = testsupport::DebianRoots();
    if (paths.empty()) {
        GTEST_SKIP() << "ca-certificates is not installed";
    }
    EXPECT_GT(paths.size(), 100u);
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        const std::vector<uint8_t> pem = asn1test::ReadFile(path);
        ca::MallocPtr bytes;
        uint32_t size = 0;
        ASSERT_TRUE(ca::DecodeBase64IfNeeded(pem.data(), static_cast<uint32_t>(pem.size()), {ca::CERT_TOKEN},
                                             bytes, size));
        const std::vector<uint8_t> der(bytes.get(), bytes.get() + size);
        ca::CDecoded<CAsn1Certificate> decoded(der);
        EXPECT_EQ(decoded.Parser().Build(), der);
        CAsn1TBSCertificate& tbs = *decoded.Root().tbsCertificate;
        // "subject=..." and "issuer=..." lines, keys as dotted OIDs, last name first.
        const std::string ours = "subject=" + ca::u16u8(tbs.subject->GetString(kNameReverse | kNameOidKeys)) +
                                 "\nissuer=" + ca::u16u8(tbs.issuer->GetString(kNameReverse | kNameOidKeys)) +
                                 "\n";
        const std::string theirs =
            Output("openssl x509 -in '" + path +
                   "' -noout -nameopt RFC2253,-esc_msb,oid -subject -issuer 2>/dev/null");
        if (theirs.find('\\') == std::string::npos) {  // openssl escapes, where we would quote
            EXPECT_EQ(ours, theirs);
        }
    }
}

}  // namespace
