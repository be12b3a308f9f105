#include <dirent.h>
#include <gtest/gtest.h>

#include <fstream>

#include "ses/CCertificateCollection.h"
#include "ses/SesContainer.h"
#include "ses/Utils.h"
#include "tests/support/TestSupport.h"

namespace {

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
