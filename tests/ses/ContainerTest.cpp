#include <dirent.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <tinyxml.h>

#include <chrono>
#include <fstream>

#include "base/ErrorCodes.h"
#include "ses/CCertificateCollection.h"
#include "ses/SesContainer.h"
#include "ses/SesXml.h"
#include "ses/Utils.h"
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

TEST(SesContainerPrint, DetachedLayoutIsByteExact) {
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

std::unique_ptr<CSesContainer> ParseText(const std::string& text) {
    return CSesContainer::Parse(text.data(), text.size());
}

// A printed container reads back the same, also behind a byte-order mark, a declaration and comments;
// only the CR LF pairs of texts fold into blanks.
TEST(SesContainerRead, PrintedContainerReadsBack) {
    CSesContainer written;
    written.certificate = std::make_unique<CSesCert>(SampleCert());
    written.certificate->Address = L"line\r\n\r\nnext \r lone\n";
    written.signature = std::make_unique<CSesSignature>();
    written.signature->Comment = L"  two  blanks \x01\t<&> \"'";
    written.signature->URI = L"urn:x";
    written.signature->Attached = L"QUJD";
    written.signature->CRC = L"MA==";
    std::string decorated =
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\" standalone='yes'?>\r\n<!-- signed -->\n" +
        written.Print() + "<!-- end -->\n";
    decorated.insert(decorated.find("<EDS>") + 5, "<!-- the signature -->");
    const auto read = ParseText(decorated);
    written.certificate->Address = L"line  next \r lone\n";
    EXPECT_EQ(read->Print(), written.Print());
    EXPECT_TRUE(read->signature->IsAttached());
}

TEST(SesContainerRead, MissingPartsKeepTheirDefaults) {
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

std::string Repeat(const std::string& text, size_t count) {
    std::string out;
    for (size_t i = 0; i < count; ++i) {
        out += text;
    }
    return out;
}

std::string Attributes(size_t count) {
    std::string out = "<SES";
    for (size_t i = 0; i < count; ++i) {
        out += " a" + std::to_string(i) + "=\"1\"";
    }
    return out + "/>";
}

// ParseCodeOnSmallStack parses on a thread with a 256 KiB stack, as the fuzz target does: nesting
// that escapes the depth guard crashes there instead of fitting the main thread's 8 MiB.
uint32_t ParseCodeOnSmallStack(const std::string& text) {
    struct SJob {
        const std::string* text;
        uint32_t code;
    } job{&text, 0};
    pthread_attr_t attributes;
    pthread_t thread;
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    EXPECT_EQ(pthread_attr_setstacksize(&attributes, size_t{256} << 10), 0);
    const auto run = [](void* argument) -> void* {
        auto* j = static_cast<SJob*>(argument);
        j->code = CodeOf([j] { ParseText(*j->text); });
        return nullptr;
    };
    EXPECT_EQ(pthread_create(&thread, &attributes, run, &job), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return job.code;
}

constexpr uint32_t kRefused = ca::kFileOperationError;

TEST(SesContainerRead, OnlyTheContainerSubsetOfXmlIsReadAndFast) {
    const auto nested = [](size_t levels) {
        return "<SES>" + Repeat("<a>", levels) + Repeat("</a>", levels) + "</SES>";
    };
    const struct {
        const char* label;
        std::string text;
        uint32_t code;
    } cases[] = {
        {"64 levels", nested(63), 0},
        {"65 levels", nested(64), kRefused},
        {"64 attributes", Attributes(kMaxXmlAttributes), 0},
        {"65 attributes", Attributes(kMaxXmlAttributes + 1), kRefused},
        {"node budget", "<SES>" + Repeat("<a/>", kMaxXmlNodes - 1) + "</SES>", 0},
        {"one node over", "<SES>" + Repeat("<a/>", kMaxXmlNodes) + "</SES>", kRefused},
        // TinyXML ends these at the first '>': what follows must not escape the depth guard.
        {"nesting inside <?", "<SES><?x >" + Repeat("<a>", 40000) + "?></SES>", kRefused},
        {"nesting inside <1 \"", "<SES><1 \">" + Repeat("<a>", 40000) + "\"></SES>", kRefused},
        {"processing instruction", "<SES><?x?></SES>", kRefused},
        {"unknown node", "<SES><1/></SES>", kRefused},
        {"blank after <", "<SES>< a/></SES>", kRefused},
        {"doctype", "<!DOCTYPE SES [<!ENTITY x \"y\">]><SES/>", kRefused},
        {"lower-case doctype", "<!doctype SES><SES/>", kRefused},
        {"CDATA", "<SES><![CDATA[<b>]]></SES>", kRefused},
        {"other <!", "<SES><!ELEMENT a></SES>", kRefused},
        {"BOM, declaration, comments",
         "\xEF\xBB\xBF<?xml version=\"1.0\" encoding='UTF-8'?>\n<!-- <a> "
         "-->\n<SES><!----><EDS/></SES>\r\n<!--e-->",
         0},
        {"empty declaration", "<?xml?><SES/>", 0},
        {"declaration after a blank", " <?xml version=\"1.0\"?><SES/>", kRefused},
        {"second declaration", "<?xml?><?xml?><SES/>", kRefused},
        {"'>' in the declaration", "<?xml version=\"1>0\"?><SES/>", kRefused},
        {"quote in the declaration", "<?xml a=\"'\"?><SES/>", kRefused},
        {"upper-case declaration", "<?XML version=\"1.0\"?><SES/>", kRefused},
        {"other xml instruction", "<?xml-stylesheet href=\"a\"?><SES/>", kRefused},
        {"second root", "<SES/><SES/>", kRefused},
        {"trailing text", "<SES/>garbage", kRefused},
        {"no SES root", "<Other/>", kRefused},
        {"unclosed", "<SES><EDS>", kRefused},
        {"stray close", "</SES>", kRefused},
        {"empty", "", kRefused},
        {"unterminated comment", "<SES><!-- </SES>", kRefused},
        {"-- in a comment", "<SES><!-- a -- b --></SES>", kRefused},
        {"comment ending --->", "<SES><!-- a ---></SES>", kRefused},
        {"quoted bracket", "<SES a=\"x>y\" b='/'><EDS/></SES>", 0},
        {"blanks in tags", "<SES\n a = \"1\"\t><EDS\r\n/></SES >", 0},
        {"non-ASCII names", "<SES><Имя атрибут=\"1\"/></SES>", 0},
        {"mismatched end tag", "<SES><EDS></EDSX></SES>", kRefused},
        {"unquoted value", "<SES a=1/>", kRefused},
        {"no blank between attributes", "<SES a=\"1\"b=\"2\"/>", kRefused},
        {"'<' in a value", "<SES a=\"<\"/>", kRefused},
        {"unterminated value", "<SES a=\"x/>", kRefused},
        {"references", "<SES a=\"&#x41;&quot;&#10;\"><C>&amp;&#x0A;&#x10FFFF;&#1114111;&abcdefgh;</C></SES>",
         0},
        {"bare &", "<SES>a & b</SES>", kRefused},
        {"& in a value", "<SES a=\"&\"/>", kRefused},
        {"unterminated entity", "<SES>&amp</SES>", kRefused},
        {"&#x without digits", "<SES>&#x;</SES>", kRefused},
        {"&# without digits", "<SES>&#;</SES>", kRefused},
        {"upper-case X", "<SES>&#X41;</SES>", kRefused},
        {"11-byte reference", "<SES>&#x010FFFF;</SES>", kRefused},
        {"11-byte entity", "<SES>&abcdefghi;</SES>", kRefused},
        {"surrogate reference", "<SES>&#xD800;</SES>", kRefused},
        {"reference past Unicode", "<SES>&#x110000;</SES>", kRefused},
        {"embedded NUL", std::string("<SES/>\0<x/>", 11), kRefused},
        {"control character", "<SES>\x01</SES>", kRefused},
        {"vertical tab as blank", "<SES\v/>", kRefused},
        {"truncated UTF-8 at the end", "<SES><EDS><Comment>\xec", kRefused},
        {"overlong UTF-8", "<SES>\xc0\xaf</SES>", kRefused},
        {"UTF-16 surrogate", "<SES>\xed\xa0\x80</SES>", kRefused},
        {"valid Cyrillic", "<SES>\xd0\x96</SES>", 0},
        // Hostile sizes are answered fast: TinyXML alone spends 36 s on 100k attributes, comparing each
        // with all earlier ones.
        {"100k attributes", Attributes(100000), kRefused},
        {"100k &#x", "<SES>" + Repeat("&#x", 100000) + ";</SES>", kRefused},
        {"100k &#x in a value", "<SES a=\"" + Repeat("&#x", 100000) + ";\"/>", kRefused},
        {"100k elements", "<SES>" + Repeat("<a/>", 100000) + "</SES>", kRefused},
        {"100k comments", "<SES>" + Repeat("<!---->", 100000) + "</SES>", kRefused},
        {"100k references in one text", "<SES>" + Repeat("&#x41;", 100000) + "</SES>", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(ParseCodeOnSmallStack(c.text), c.code);
        EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 1.0);
    }
    // A length past the whole-document bound is refused before a byte is read.
    EXPECT_FALSE(CheckXmlShape("<SES/>", kMaxXmlDocumentBytes + size_t{1}));
}

TEST(SesContainerRead, SizeCapSparesOnlyAttachedText) {
    // A document of size bytes whose one text sits in element name.
    const auto document = [](const std::string& name, size_t size) {
        const std::string close = "</" + name + "></SES>";
        std::string text = "<SES><" + name + ">";
        text.reserve(size);
        text.append(size - text.size() - close.size(), 'Q');
        return text + close;
    };
    for (const auto& [name, size, accepted] : {std::tuple{"Attachex", kMaxXmlMarkupBytes, true},
                                               {"Attachex", kMaxXmlMarkupBytes + 1, false},
                                               {"Attached", kMaxXmlMarkupBytes + 1, true}}) {
        const std::string text = document(name, size);
        EXPECT_EQ(CheckXmlShape(text.data(), text.size()), accepted) << name << " " << size;
    }
}

TEST(SesContainerRead, ColumnCountingIsOff) {
    // TinyXML's int column overflows on 540M tabs and fails an assertion; tab size 0 turns it off.
    TiXmlDocument doc;
    ASSERT_TRUE(ParseXmlDocument("<SES>\t<EDS/></SES>", 18, doc));
    EXPECT_EQ(doc.TabSize(), 0);
}

// The written form is pinned by "sestool certs --json" (CertTest).
TEST(SesCert, JsonFormSkipsOtherTypesAndFoldsLineBreaks) {
    CSesCert cert = SampleCert();
    rapidjson::Document doc;
    doc.Parse(R"({"ID":"x","Surname":5,"Address":"a\r\nb"})");
    cert.FromJson(doc);
    EXPECT_EQ(cert.ID, L"x");
    EXPECT_EQ(cert.Surname, L"Иванов");  // a non-string member is skipped
    EXPECT_EQ(cert.Address, L"a b");
}

void WriteRecord(const std::string& path, const std::wstring& id, const std::wstring& surname) {
    CSesContainer document;
    document.certificate = std::make_unique<CSesCert>();
    document.certificate->ID = id;
    document.certificate->Surname = surname;
    std::ofstream(path) << document.Print();
}

TEST(CertificateCollection, FirstFileInDirectoryOrderWinsADuplicateId) {
    CTempHome home;
    const std::string dir = home.Path() + "/";
    WriteRecord(dir + "one.ses", L"same", L"One");
    WriteRecord(dir + "two.ses", L"same", L"Two");
    std::wstring first;
    DIR* listing = opendir(dir.c_str());
    while (const dirent* entry = readdir(listing)) {
        const std::string name = entry->d_name;
        if (first.empty() && (name == "one.ses" || name == "two.ses")) {
            first = name == "one.ses" ? L"One" : L"Two";
        }
    }
    closedir(listing);
    CLogScope log;
    CCertificateCollection collection;
    LoadCertificateFolder(dir, collection);
    ASSERT_NE(collection.GetCert(L"same"), nullptr);
    EXPECT_EQ(collection.GetCert(L"same")->cert.Surname, first);
    EXPECT_EQ(log.Take(),
              (std::vector<SLogLine>{{L"Идентификатор добавленного сертификата = \"same\"", false}}));
    EXPECT_EQ(collection.GetCert(L"Same"), nullptr);
}

TEST(CertificateCollection, DescriptionOfARecord) {
    CSesCert record;
    record.ID = L"id-1";
    record.Surname = L"Petrov";
    record.GivenName = L"Pyotr";
    record.Email = L"p@x.org";
    record.Address = L"Line 1\r\nLine 2";
    const std::wstring before = NowDateTimeString(true);
    const SesCertInfo2 info(record);
    const std::wstring after = NowDateTimeString(true);
    EXPECT_EQ(info.id, L"id-1");
    EXPECT_EQ(info.description, L"SN=Petrov, G=Pyotr, E=p@x.org, S=Line 1 Line 2");
    EXPECT_EQ(
        info.x500Description,
        L"SN=Petrov, G=Pyotr, T=null, O=null, OU=null, E=p@x.org, C=null, L=null, S=Line 1 Line 2, P=null");
    EXPECT_EQ(info.oidDescription.substr(0, 27), L"2.5.4.4=Petrov, 2.5.4.42=Py");
    EXPECT_EQ(info.issuer + L"|" + info.signatureAlg + L"|" + info.publicKeyAlg + L"|" + info.version,
              L"null|CRC64|SES_v1.0|V3");
    EXPECT_TRUE(info.validFromUTC == before || info.validFromUTC == after);
    EXPECT_EQ(info.validFromUTC, info.validToUTC);
    EXPECT_EQ(info.validFrom, info.validTo);
    EXPECT_EQ(info.cert.Address, L"Line 1\r\nLine 2");  // the record itself is kept as given
}

}  // namespace
