// Records filled from parsed certificates, CRLs and CMS files, against what openssl reads in the same
// files (the fixture set), and the CRL record's own JSON.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "base/Encode.h"
#include "ca/CryptPacket.h"
#include "ca/FromAsn1.h"
#include "tests/asn1/Asn1TestUtil.h"
#include "tests/support/Fixtures.h"
#include "tests/support/TestSupport.h"

namespace {

using testsupport::Values;

std::string U8(const std::wstring& text) { return ca::u16u8(text); }

// NameLines lists a name as openssl's expectations do: "OID=value" per attribute, then the RDN sizes.
std::vector<std::string> NameLines(CAsn1DistinguishedName* name, std::string& sizes) {
    std::vector<std::string> lines;
    sizes.clear();
    for (CAsn1RelativeDistinguishedName* rdn : name->innerObjects) {
        sizes += (sizes.empty() ? "" : ",") + std::to_string(rdn->innerObjects.size());
        for (CAsn1x500Attribute* attribute : rdn->innerObjects) {
            lines.push_back(U8(attribute->oid + L"=" + attribute->text));
        }
    }
    return lines;
}

void ExpectName(const testsupport::Expect& expect, const std::string& key, CAsn1DistinguishedName* name) {
    std::string sizes;
    EXPECT_EQ(NameLines(name, sizes), Values(expect, key)) << key;
    EXPECT_EQ(sizes, Values(expect, key + "RdnSizes").at(0)) << key;
}

std::vector<std::string> ExtensionLines(const ca::CertInfoExtensionCollection& extensions) {
    std::vector<std::string> lines;
    for (const ca::CertInfoExtension& extension : extensions.items) {
        lines.push_back(U8(extension.oidValue) + (extension.critical ? ",critical" : ",noncritical"));
    }
    return lines;
}

std::vector<std::string> Split(const std::string& line) {
    std::vector<std::string> fields;
    size_t at = 0;
    for (size_t comma; (comma = line.find(',', at)) != std::string::npos; at = comma + 1) {
        fields.push_back(line.substr(at, comma - at));
    }
    fields.push_back(line.substr(at));
    return fields;
}

void CheckCertificate(const testsupport::Expect& expect, ca::CDecoded<CAsn1Certificate>& decoded) {
    ca::CertInfo2 info;
    info.FromAsn1(decoded.Root(), std::time(nullptr));
    CAsn1TBSCertificate& tbs = *decoded.Root().tbsCertificate;
    EXPECT_EQ(U8(info.serial), Values(expect, "serial").at(0));
    EXPECT_EQ(U8(info.version), "V" + Values(expect, "version").at(0));
    EXPECT_EQ(U8(info.signatureAlg), Values(expect, "sigAlg").at(0));
    EXPECT_EQ(U8(info.publicKeyAlg), Values(expect, "pubKeyAlg").at(0));
    EXPECT_EQ(U8(info.validFromUTC), Values(expect, "notBefore").at(0));
    EXPECT_EQ(U8(info.validToUTC), Values(expect, "notAfter").at(0));
    ExpectName(expect, "issuer", tbs.issuer);
    ExpectName(expect, "subject", tbs.subject);
    EXPECT_EQ(ExtensionLines(info.extensions), Values(expect, "ext"));
    // Bits 0..7 of the key usage as flags; decipherOnly (bit 8) is never decoded.
    uint32_t usage = 0;
    for (const std::string& bits : Values(expect, "keyUsage")) {
        for (const std::string& bit : Split(bits)) {
            usage |= std::stoi(bit) < 8 ? 1u << std::stoi(bit) : 0;
        }
    }
    EXPECT_EQ(info.keyUsage, usage);
    for (const std::string& key : Values(expect, "authorityKeyId")) {
        EXPECT_THAT(Json(info), HasSubstr("Идентификатор ключа=" + key));
    }
}

void CheckCrl(const testsupport::Expect& expect, ca::CDecoded<CAsn1CRL>& decoded) {
    ca::CrlInfo info;
    info.FromAsn1(decoded.Root());
    ExpectName(expect, "issuer", decoded.Root().tbsCertList->issuer);
    EXPECT_EQ(U8(info.validFromUTC), Values(expect, "thisUpdate").at(0));
    const std::vector<std::string> next = Values(expect, "nextUpdate");
    EXPECT_EQ(U8(info.validToUTC), next.empty() ? "" : next[0]);
    EXPECT_EQ(ExtensionLines(info.extensions), Values(expect, "ext"));
    const std::vector<std::string> numbers = Values(expect, "crlNumber");
    EXPECT_EQ(info.number, numbers.empty() ? 0u : std::stoul(numbers[0], nullptr, 16));
    const char* const reasons[] = {"", "; Key Compromise",  "; CA Compromise", "", "; Superseded",
                                   "", "; Certificate Hold"};
    std::vector<std::string> revoked;
    for (const std::string& line : Values(expect, "revoked")) {
        const size_t first = line.find(','), second = line.rfind(',');
        const std::string reason = line.substr(second + 1);
        revoked.push_back(line.substr(0, first) + "; " + line.substr(first + 1, second - first - 1) +
                          (reason.empty() ? "" : reasons[std::stoi(reason)]));
    }
    std::vector<std::string> ours;
    for (const std::wstring& entry : info.revokedCerts.items) {
        ours.push_back(U8(entry));
    }
    EXPECT_EQ(ours, revoked);
}

void CheckCms(const testsupport::Expect& expect, ca::CDecoded<CAsn1SignedPKCS7>& decoded) {
    ca::SignInfos signers;
    signers.FromAsn1(decoded.Root());
    CAsn1SignedPKCS7Content& content = *decoded.Root().SignedData();
    EXPECT_EQ(U8(content.encapContentInfo->eContentType->oid), Values(expect, "eContentType").at(0));
    const size_t certCount = content.certificates != nullptr ? content.certificates->innerObjects.size() : 0;
    EXPECT_EQ(std::to_string(certCount), Values(expect, "certCount").at(0));
    const std::vector<std::string> expected = Values(expect, "signer");
    ASSERT_EQ(signers.items.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        const ca::SignInfo& signer = *signers.items[i];
        // sid, digest OID, signature OID, signing time, signed and unsigned attribute counts
        const std::vector<std::string> fields = Split(expected[i]);
        ASSERT_EQ(fields.size(), 6u);
        const bool byKeyId = fields[0].rfind("keyid:", 0) == 0;
        EXPECT_EQ(U8(signer.signId).substr(0, byKeyId ? std::string::npos : fields[0].size()),
                  byKeyId ? fields[0].substr(6) : fields[0]);
        EXPECT_EQ(U8(signer.hashAlg) + "," + U8(signer.signAlg) + "," + U8(signer.signTimeUTC),
                  fields[1] + "," + fields[2] + "," + fields[3]);
        EXPECT_EQ(signer.extensions.size(), std::stoul(fields[4]) + std::stoul(fields[5]));
        EXPECT_EQ(signer.isAttached, Values(expect, "attached").at(0) == "true");
        if (!byKeyId && !signer.signCert.serial.empty()) {  // found among the carried certificates
            EXPECT_EQ(U8(signer.signCert.serial), fields[0]);
        }
    }
}

TEST(RecordsFromAsn1, AgreeWithOpensslOnTheFixtureSet) {
    setenv("TZ", "UTC", 1);
    tzset();
    CLanguageScope english(L"en");
    const std::string folder = testsupport::FixtureDir();
    std::set<std::string> names, kinds;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".der") {
            names.insert(entry.path().stem().string());
        }
    }
    ASSERT_GT(names.size(), 30u);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const testsupport::Expect expect = testsupport::ReadExpect(folder + "/" + name + ".expect");
        const std::vector<uint8_t> der = asn1test::ReadFile(folder + "/" + name + ".der");
        const std::string kind = Values(expect, "kind").at(0);
        kinds.insert(kind);
        try {
            if (kind == "cert") {
                ca::CDecoded<CAsn1Certificate> decoded(der);
                EXPECT_EQ(decoded.Parser().Build(), der);
                CheckCertificate(expect, decoded);
            } else if (kind == "crl") {
                ca::CDecoded<CAsn1CRL> decoded(der);
                EXPECT_EQ(decoded.Parser().Build(), der);
                CheckCrl(expect, decoded);
            } else {
                ca::CDecoded<CAsn1SignedPKCS7> decoded(der);
                EXPECT_EQ(decoded.Parser().Build(), der);
                CheckCms(expect, decoded);
            }
        } catch (const ca::Exception& e) {
            ADD_FAILURE() << "code " << std::hex << e.code;
        }
    }
    EXPECT_EQ(kinds, (std::set<std::string>{"cert", "cms", "crl"}));
}

template <class T>
ca::CDecoded<T> Fixture(const std::string& name) {
    return ca::CDecoded<T>(asn1test::ReadFile(testsupport::FixtureDir() + "/" + name + ".der"));
}

TEST(RecordsFromAsn1, CoSignersTimeStampsAndMissingMembers) {
    auto countersigned = Fixture<CAsn1SignedPKCS7>("cms-countersigned");
    ca::SignInfos signers;
    signers.FromAsn1(countersigned.Root());
    ASSERT_EQ(signers.items.size(), 1u);
    ASSERT_EQ(signers.items[0]->coSigners.size(), 1u);
    EXPECT_EQ(signers.items[0]->coSigners[0]->signAlg, L"1.2.840.10045.4.3.2");

    // A time-stamp token is a signed data of its own, walked the same way.
    auto stamped = Fixture<CAsn1SignedPKCS7>("cms-timestamped");
    CAsn1Attributes* unsignedAttrs =
        stamped.Root().SignedData()->signerInfos->innerObjects.at(0)->unsignedAttrs;
    ASSERT_NE(unsignedAttrs, nullptr);
    CAsn1Attribute* token = unsignedAttrs->GetAttribute(kOidTimeStampToken);
    ASSERT_NE(token, nullptr);
    auto* value = dynamic_cast<CAsn1AttributeValueTimeStampToken*>(token->GetValue(0));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->held->SignedData()->signerInfos->innerObjects.size(), 1u);
    EXPECT_EQ(unsignedAttrs->GetAttribute(L"1.2.840.113549.1.9"), nullptr);  // exact match only

    auto detached = Fixture<CAsn1SignedPKCS7>("cms-detached");
    EXPECT_EQ(detached.Root().SignedData()->encapContentInfo->eContent, nullptr);
    auto noAttributes = Fixture<CAsn1SignedPKCS7>("cms-noattr");
    EXPECT_EQ(noAttributes.Root().SignedData()->signerInfos->innerObjects.at(0)->signedAttrs, nullptr);

    // A signed data without its [0] content, and a signer without its signature: logged, then raised.
    const CLogScope log;
    const std::pair<const char*, const wchar_t*> broken[] = {
        {"300B06092A864886F70D010702", L": CryptAsn1Base.h:606"},
        {"3020 06092A864886F70D010702 A013 3011 020101 3100 3003060100 3105 3003020101",
         L": CryptAsn1Base.h:537"},
    };
    for (const auto& [hex, site] : broken) {
        const std::vector<uint8_t> bytes = asn1test::FromHex(hex);
        EXPECT_EQ(CodeOf([&] { ca::CDecoded<CAsn1SignedPKCS7> decoded(bytes); }), ca::kAsn1BadTag) << hex;
        const std::vector<SLogLine> lines = CLogScope::Take();
        ASSERT_FALSE(lines.empty()) << hex;
        EXPECT_EQ(lines[0], (SLogLine{site, true})) << hex;
    }
}

TEST(RecordsFromAsn1, CrlInfoJsonAndTheResponseKey) {
    std::string text = R"({"errorCode":0,"crlInfo":{"Number":7,"Extensions":[{"OidValue":"2.5.29.20",)"
                       R"("Critical":true}],"RevokedCerts":["0a; 01.01.2025 00:00:00"]}})";
    ca::CryptResponse response;
    response.FromJson(text.data(), static_cast<uint32_t>(text.size()));
    ASSERT_NE(response.GetObject(ca::kTypeCrlInfo), nullptr);
    const std::string json = Json(*response.GetObject(ca::kTypeCrlInfo));
    EXPECT_NE(json.find(R"({"Number":7,)"), std::string::npos);
    EXPECT_NE(json.find(R"("Critical":true}],"RevokedCerts":["0a; 01.01.2025 00:00:00"]})"),
              std::string::npos);
    rapidjson::Document mistyped;
    mistyped.Parse(R"({"RevokedCerts":"0a"})");
    EXPECT_EQ(CodeOf([&] { ca::CrlInfo().FromJson(mistyped); }), ca::kJsonError);
}

}  // namespace
