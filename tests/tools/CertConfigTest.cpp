// "sestool cert new" writes certificate records and "sestool certs" lists what the module loads;
// "sestool config show" prints what the module reads and "config init" writes the defaults.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "base/FileUtil.h"
#include "config/ConfigFileParser.h"
#include "ses/SesContainer.h"
#include "tests/support/ToolRun.h"

namespace {

using CertTest = CToolTest;

// The certificate file is the module's own document form, byte for byte: the module reads it back
// and lists the record.
TEST_F(CertTest, CertNewWritesARecordThatCertsLists) {
    EXPECT_THAT(RunOk({"certs"}).out, HasSubstr("No certificates in"));
    EXPECT_EQ(Run({"certs", "--json"}).out, "[]\n");
    const SToolRun made = RunOk({"cert",           "new",          "--id",         "ivanov",
                                 "--surname",      "Ivanov",       "--given-name", "Ivan",
                                 "--organization", "Roga, Kopyta", "--title",      "Clerk",
                                 "--unit",         "Sales",        "--email",      "ivan@example.org",
                                 "--phone",        "+7 900",       "--country",    "RU",
                                 "--locality",     "Omsk",         "--address",    "Lenina 1"});
    const std::string file = CertFolder() + "/ivanov.ses";
    EXPECT_EQ(made.out, "id:   ivanov\nfile: " + file + "\n");
    EXPECT_EQ(std::filesystem::status(CertFolder()).permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_all);
    RunOk({"cert", "new", "--id", "petrov", "--surname", "Петров", "--given-name", "Пётр"});
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
    RunFails(again, 2, "already exists; use --force");
    EXPECT_EQ(Read(file), before);
    again.push_back("--force");
    RunOk(again);
    EXPECT_THAT(Read(file), HasSubstr("<Surname>Sidorov</Surname>"));

    const SToolRun run = RunOk({"cert", "new", "--surname", "Ivanov", "--given-name", "Ivan"});
    const std::string id = run.out.substr(6, 36);  // "id:   " and a UUID without braces
    ASSERT_EQ(run.out.rfind("id:   ", 0), 0u);
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef-"), std::string::npos) << id;
    EXPECT_EQ(std::string() + id[8] + id[13] + id[14] + id[18] + id[23], "--4--");
    EXPECT_THAT(Read(CertFolder() + "/" + id + ".ses"), HasSubstr("<ID>" + id + "</ID>"));
}

// certs names on stderr each file of the folder that the module left out, and prints the records'
// own texts escaped.
TEST_F(CertTest, CertsNamesSkippedFilesAndEscapesTexts) {
    RunOk({"cert", "new", "--id", "esc", "--surname", "Iv\x1b[31m", "--given-name", "A"});
    std::filesystem::copy_file(CertFolder() + "/esc.ses", CertFolder() + "/copy.ses");
    File(".config/VALKO/SesCertificates/notes.txt", "x");
    File(".config/VALKO/SesCertificates/bad\n\xff.ses", "<SES>");
    File(".config/VALKO/SesCertificates/empty.ses", "<SES Version=\"1.0\"/>");
    std::filesystem::create_directory(CertFolder() + "/folder.ses");
    const SToolRun run = RunOk({"certs"});
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

using ConfigCommandTest = CToolTest;

// ModuleView is what the module's own reader makes of the file under the test's HOME.
std::string ModuleView() {
    CLanguageScope language;
    ca::ConfigFileParser config;
    std::wstring ignored;
    config.ReadConfig(ignored, true);
    return Json(config);
}

TEST_F(ConfigCommandTest, ShowPrintsWhatTheModuleReads) {
    // The file (null: none) and the warning show gives ("": none).
    for (const auto& [file, warning] :
         {std::pair<const char*, const char*>{nullptr, "OruCryptoSvcConfig.ini: Failed to open(create)"},
          {"[Service settings]\nLogMode=3\nHttpPort=abc\n", "OruCryptoSvcConfig.ini: stoi; the values"},
          {"[Service settings]\nLogMode=2\n[Custom CDP list]\n1=http://cdp\n", ""}}) {
        if (file != nullptr) {
            home.WriteConfig(file);
        }
        const SToolRun run = RunOk({"config", "show"});
        EXPECT_EQ(run.err.empty(), *warning == '\0') << Describe(run);
        EXPECT_THAT(run.err, HasSubstr(warning));
        EXPECT_EQ(Json(run.out), ModuleView());
    }
}

TEST_F(ConfigCommandTest, InitWritesDefaultsAndRefusesToOverwrite) {
    EXPECT_EQ(RunOk({"config", "init"}).out, home.ConfigPath() + "\n");
    const std::string written = Read(home.ConfigPath());
    EXPECT_EQ(written.rfind("# SHA-1 of the lines below: ", 0), 0u);
    EXPECT_EQ(ModuleView(), Json(ca::ConfigFileParser()));

    ASSERT_TRUE(ca::StringToFile(home.ConfigPath(), "[Service settings]\nLogMode=1\n"));
    RunFails({"config", "init"}, 2, "--force");
    EXPECT_EQ(Read(home.ConfigPath()), "[Service settings]\nLogMode=1\n");
    RunOk({"config", "init", "--force"});
    EXPECT_EQ(Read(home.ConfigPath()), written);
}

// init never opens what is not a regular file (a FIFO would block it) and never writes through a
// link that leads nowhere.
TEST_F(ConfigCommandTest, InitRefusesSpecialTargets) {
    using Make = int (*)(const char* path);
    const Make fifo = [](const char* path) { return mkfifo(path, 0600); };
    const Make dangling = [](const char* path) { return symlink("../missing.ini", path); };
    home.WriteConfig("");
    for (const auto& [make, args, says] :
         {std::tuple{fifo, std::vector<std::string>{"config", "init", "--force"}, "is a FIFO"},
          {dangling, {"config", "init", "--force"}, "leads to no file"},
          {dangling, {"config", "init"}, "exists; add --force"}}) {
        unlink(home.ConfigPath().c_str());
        ASSERT_EQ(make(home.ConfigPath().c_str()), 0);
        RunFails(args, 2, says);
        EXPECT_FALSE(ca::IsRegularFile(home.ConfigPath()));
        EXPECT_FALSE(ca::IsRegularFile(home.Path() + "/.config/missing.ini"));
    }
}

}  // namespace
