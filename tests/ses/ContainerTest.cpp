#include <gtest/gtest.h>
#include <tinyxml.h>

#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "ses/SesContainer.h"
#include "ses/SesXml.h"
#include "tests/support/TestSupport.h"

namespace {

CSesCert SampleCert() {
    CSesCert cert;
    cert.ID = L"cert-1";
    cert.Surname = L"Иванов";
    cert.GivenName = L"Иван  Петрович";
    cert.Title = L"Engineer";
    cert.Organization = L"ООО \"Ромашка\" & Co";
    cert.Email = L"ivanov@example.org";
    cert.Address = L"Main st. <1>";
    return cert;
}

std::unique_ptr<CSesContainer> ParseText(const std::string& text) {
    return CSesContainer::Parse(text.data(), text.size());
}

TEST(SesContainer, DetachedLayoutIsByteExact) {
    CSesContainer container;
    container.certificate = std::make_unique<CSesCert>(SampleCert());
    container.signature = std::make_unique<CSesSignature>();
    container.signature->SignId = L"1804289383846930886168169249117146";
    container.signature->SignTimeUTC = L"22.11.2026 01:02:03";
    container.signature->CRC = L"NzgwMDQ4MDE1MzkwOTk0OTI1NQ==";
    EXPECT_EQ(container.Print(),
              "<SES Version=\"1.0\">\n"
              "    <Certificate>\n"
              "        <ID>cert-1</ID>\n"
              "        <Surname>Иванов</Surname>\n"
              "        <GivenName>Иван  Петрович</GivenName>\n"
              "        <Organization>ООО &quot;Ромашка&quot; &amp; Co</Organization>\n"
              "        <Title>Engineer</Title>\n"
              "        <OrganizationUnit />\n"
              "        <Email>ivanov@example.org</Email>\n"
              "        <Telephone />\n"
              "        <Country />\n"
              "        <Locality />\n"
              "        <Address>Main st. &lt;1&gt;</Address>\n"
              "    </Certificate>\n"
              "    <EDS>\n"
              "        <SignId>1804289383846930886168169249117146</SignId>\n"
              "        <SignTimeUTC>22.11.2026 01:02:03</SignTimeUTC>\n"
              "        <Comment />\n"
              "        <URI />\n"
              "        <CRC Set=\"st_1\">NzgwMDQ4MDE1MzkwOTk0OTI1NQ==</CRC>\n"
              "    </EDS>\n"
              "</SES>\n");
}

TEST(SesContainer, RoundTripKeepsEveryField) {
    CSesContainer written;
    written.certificate = std::make_unique<CSesCert>(SampleCert());
    written.certificate->Address = L"line\r\n\r\nnext \r lone\n";
    written.signature = std::make_unique<CSesSignature>();
    written.signature->Comment = L"  two  blanks  ";
    written.signature->URI = L"urn:x";
    written.signature->Attached = L"QUJD";
    written.signature->CRC = L"MA==";
    const auto read = ParseText(written.Print());
    ASSERT_TRUE(read->certificate != nullptr && read->signature != nullptr);
    written.certificate->Address = L"line  next \r lone\n";  // CR LF pairs are folded to blanks
    for (const SSesCertField& f : kSesCertFields) {
        SCOPED_TRACE(f.name);
        EXPECT_EQ((*read->certificate).*f.field, (*written.certificate).*f.field);
    }
    EXPECT_EQ(read->signature->SignId, written.signature->SignId);
    EXPECT_EQ(read->signature->Comment + L"|" + read->signature->URI + L"|" + read->signature->CRC,
              L"  two  blanks  |urn:x|MA==");
    EXPECT_TRUE(read->signature->IsAttached());
}

TEST(SesContainer, MissingPartsKeepTheirDefaults) {
    const auto onlyEds =
        ParseText("<SES Version=\"1.0\"><EDS><CRC Set=\"other\">MA==</CRC><Comment></Comment></EDS></SES>");
    EXPECT_EQ(onlyEds->certificate, nullptr);
    ASSERT_NE(onlyEds->signature, nullptr);
    EXPECT_FALSE(onlyEds->signature->SignId.empty());  // a fresh random identifier
    EXPECT_EQ(onlyEds->signature->CRC, L"MA==");
    EXPECT_FALSE(onlyEds->signature->IsAttached());

    CSesCert cert = SampleCert();
    TiXmlDocument doc;
    ASSERT_TRUE(ParseXmlDocument("<C><Surname/><Email>new@x</Email></C>", 37, doc));
    cert.FromXml(doc.RootElement());
    EXPECT_EQ(cert.Surname, L"Иванов");  // an element without text keeps the value
    EXPECT_EQ(cert.Email, L"new@x");
}

TEST(SesContainer, HostileDocumentsAreRefused) {
    std::string levels;  // 63 levels below the root
    for (int i = 0; i < 63; ++i) {
        levels = "<a>" + levels + "</a>";
    }
    const struct {
        const char* label;
        std::string text;
        uint32_t code;
    } cases[] = {
        {"64 levels", "<SES>" + levels + "</SES>", 0},
        {"65 levels", "<SES><b>" + levels + "</b></SES>", ca::kFileOperationError},
        {"66 levels", "<a><SES><b>" + levels + "</b></SES></a>", ca::kFileOperationError},
        {"doctype", "<!DOCTYPE SES [<!ENTITY x \"y\">]><SES/>", ca::kFileOperationError},
        {"lower-case doctype", "<!doctype SES><SES/>", ca::kFileOperationError},
        {"trailing text", "<SES/>garbage", ca::kFileOperationError},
        {"second root", "<SES/><SES/>", 0},
        {"no SES root", "<Other/>", ca::kFileOperationError},
        {"unclosed", "<SES><EDS>", ca::kFileOperationError},
        {"stray close", "</SES>", ca::kFileOperationError},
        {"embedded NUL", std::string("<SES/>\0<x/>", 11), ca::kFileOperationError},
        {"empty", "", ca::kFileOperationError},
        {"quoted bracket", "<SES a=\"x>y\" b='/'><EDS/></SES>", 0},
        {"comment and CDATA", "<!-- <a> --><SES><![CDATA[<b>]]></SES>", 0},
        {"unterminated comment", "<SES><!-- </SES>", ca::kFileOperationError},
        // TinyXML skips a character by its lead byte: a truncated one at the end read past the buffer.
        {"truncated UTF-8 at the end", "<SES><EDS><Comment>\xec", ca::kFileOperationError},
        {"overlong UTF-8", "<SES>\xc0\xaf</SES>", ca::kFileOperationError},
        {"UTF-16 surrogate", "<SES>\xed\xa0\x80</SES>", ca::kFileOperationError},
        {"valid Cyrillic", "<SES>\xd0\x96</SES>", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(CodeOf([&c] { ParseText(c.text); }), c.code);
    }
}

TEST(SesCert, CheckStringFoldsOnlyCrLfPairsAndJsonIsInSerialisedOrder) {
    for (const auto& [in, out] : {std::pair<std::wstring, std::wstring>{L"a\r\n\r\nb", L"a  b"},
                                  {L"a\rb\nc", L"a\rb\nc"},
                                  {L"\r\r\n\n", L"\r \n"},
                                  {L"", L""}}) {
        std::wstring text = in;
        CSesCert::CheckString(text);
        EXPECT_EQ(text, out);
    }
    CSesCert cert = SampleCert();
    EXPECT_EQ(
        Json(cert),
        "{\"ID\":\"cert-1\",\"Surname\":\"Иванов\",\"GivenName\":\"Иван  Петрович\","
        "\"Organization\":\"ООО \\\"Ромашка\\\" & Co\",\"Title\":\"Engineer\",\"OrganizationUnit\":\"\","
        "\"Email\":\"ivanov@example.org\",\"Telephone\":\"\",\"Country\":\"\",\"Locality\":\"\","
        "\"Address\":\"Main st. <1>\"}");
    rapidjson::Document doc;
    doc.Parse(R"({"ID":"x","Surname":5,"Address":"a\r\nb"})");
    cert.FromJson(doc);
    EXPECT_EQ(cert.ID, L"x");
    EXPECT_EQ(cert.Surname, L"Иванов");  // a non-string member is skipped
    EXPECT_EQ(cert.Address, L"a b");
}

}  // namespace
