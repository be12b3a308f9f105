// "sestool cert new" writes certificate records; "sestool certs" lists what the module loads.
#include <filesystem>

#include "ses/SesContainer.h"
#include "tests/support/ToolRun.h"

namespace {

using CertTest = CToolTest;

// The certificate file is the module's own document form, byte for byte: the module reads it back
// and lists the record.
TEST_F(CertTest, CertNewWritesARecordThatCertsLists) {
    const SToolRun empty = Run({"certs"});
    EXPECT_EQ(empty.exitCode, 0) << Describe(empty);
    EXPECT_THAT(empty.out, HasSubstr("No certificates in"));
    EXPECT_EQ(Run({"certs", "--json"}).out, "[]\n");

    const SToolRun made = Run({"cert",           "new",          "--id",         "ivanov",
                               "--surname",      "Ivanov",       "--given-name", "Ivan",
                               "--organization", "Roga, Kopyta", "--title",      "Clerk",
                               "--unit",         "Sales",        "--email",      "ivan@example.org",
                               "--phone",        "+7 900",       "--country",    "RU",
                               "--locality",     "Omsk",         "--address",    "Lenina 1"});
    ASSERT_EQ(made.exitCode, 0) << Describe(made);
    const std::string file = CertFolder() + "/ivanov.ses";
    EXPECT_EQ(made.out, "id:   ivanov\nfile: " + file + "\n");
    EXPECT_EQ(std::filesystem::status(CertFolder()).permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_all);
    ASSERT_EQ(Run({"cert", "new", "--id", "petrov", "--surname", "Петров", "--given-name", "Пётр"}).exitCode,
              0);
    // Columns line up by characters, not bytes.
    EXPECT_EQ(Run({"certs"}).out,
              "ID      NAME         ORGANIZATION  E-MAIL\n"
              "ivanov  Ivanov Ivan  Roga, Kopyta  ivan@example.org\n"
              "petrov  Петров Пётр\n");
    const SToolRun listed = Run({"certs", "--json"});
    EXPECT_EQ(listed.out,
              R"([{"ID":"ivanov","Surname":"Ivanov","GivenName":"Ivan","Organization":"Roga, Kopyta",)"
              R"("Title":"Clerk","OrganizationUnit":"Sales","Email":"ivan@example.org","Telephone":"+7 900",)"
              R"("Country":"RU","Locality":"Omsk","Address":"Lenina 1"},)"
              R"({"ID":"petrov","Surname":"Петров","GivenName":"Пётр","Organization":"","Title":"",)"
              R"("OrganizationUnit":"","Email":"","Telephone":"","Country":"","Locality":"","Address":""}])"
              "\n");
    // The file is the module's document of the record listed first.
    rapidjson::Document records;
    records.Parse(listed.out.c_str());
    CSesContainer document;
    document.certificate = std::make_unique<CSesCert>();
    document.certificate->FromJson(records[0]);
    EXPECT_EQ(Read(file), document.Print());
}

TEST_F(CertTest, CertNewReplacesAFileOnlyWithForceAndNamesItByUuidWithoutId) {
    NewCert();
    const std::string file = CertFolder() + "/ivanov.ses";
    const std::string before = Read(file);
    std::vector<std::string> again{"cert",      "new",     "--id",         "ivanov",
                                   "--surname", "Sidorov", "--given-name", "S"};
    const SToolRun refused = Run(again);
    EXPECT_EQ(refused.exitCode, 2) << Describe(refused);
    EXPECT_THAT(refused.err, HasSubstr("already exists; use --force"));
    EXPECT_EQ(Read(file), before);
    again.push_back("--force");
    EXPECT_EQ(Run(again).exitCode, 0);
    EXPECT_THAT(Read(file), HasSubstr("<Surname>Sidorov</Surname>"));

    const SToolRun run = Run({"cert", "new", "--surname", "Ivanov", "--given-name", "Ivan"});
    ASSERT_EQ(run.exitCode, 0) << Describe(run);
    const std::string id = run.out.substr(6, 36);  // "id:   " and a UUID without braces
    ASSERT_EQ(run.out.rfind("id:   ", 0), 0u);
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef-"), std::string::npos) << id;
    EXPECT_EQ(std::string() + id[8] + id[13] + id[14] + id[18] + id[23], "--4--");
    EXPECT_THAT(Read(CertFolder() + "/" + id + ".ses"), HasSubstr("<ID>" + id + "</ID>"));
}

// certs names on stderr each file of the folder that the module left out, and prints the records'
// own texts escaped.
TEST_F(CertTest, CertsNamesSkippedFilesAndEscapesTexts) {
    ASSERT_EQ(Run({"cert", "new", "--id", "esc", "--surname", "Iv\x1b[31m", "--given-name", "A"}).exitCode,
              0);
    std::filesystem::copy_file(CertFolder() + "/esc.ses", CertFolder() + "/copy.ses");
    File(".config/VALKO/SesCertificates/notes.txt", "x");
    File(".config/VALKO/SesCertificates/bad\n\xff.ses", "<SES>");
    File(".config/VALKO/SesCertificates/empty.ses", "<SES Version=\"1.0\"/>");
    std::filesystem::create_directory(CertFolder() + "/folder.ses");
    const SToolRun run = Run({"certs"});
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    EXPECT_EQ(run.out, "ID   NAME            ORGANIZATION  E-MAIL\nesc  Iv\\u{1b}[31m A\n");
    const char* const skipped[] = {
        "'notes.txt': the name does not contain \".ses\"\n",
        "'bad\\n\\xff.ses': not a certificate record (no well-formed \"SES\" document)\n",
        "'empty.ses': not a certificate record (no \"Certificate\" element)\n",
        "'folder.ses': not a regular file\n",
        ".ses': the identifier 'esc' was loaded from another file first\n"};
    for (const char* line : skipped) {
        EXPECT_THAT(run.err, HasSubstr(line));
    }
    EXPECT_EQ(Count(run.err, "sestool certs: skipped '"), std::size(skipped)) << Describe(run);
}

}  // namespace
