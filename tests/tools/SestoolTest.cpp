// Runs the built sestool as a child process against the built module, with HOME in a fresh folder.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// GCC 12 at -O2 with the sanitizers takes std::function members inside <regex>'s automaton for
// uninitialised (a false positive of the compiler); silenced for these headers only.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <gtest/gtest.h>

#include <regex>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#include <vector>

#include "tests/support/ToolRun.h"

namespace {

namespace fs = std::filesystem;

using SRun = SToolRun;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFile(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

class SestoolTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "sestool-test-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        _dir = pattern;
        fs::create_directories(_dir / "home");
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(_dir, ignored);
    }

    fs::path File(const std::string& name, const std::string& bytes) {
        WriteFile(_dir / name, bytes);
        return _dir / name;
    }

    // Run starts sestool with args (stdin from input), HOME and XDG_CONFIG_HOME inside the test folder.
    // terminalStderr gives the child a pseudo-terminal as standard error instead of a file.
    SRun Run(const std::vector<std::string>& args, const std::string& input = {},
             bool terminalStderr = false) {
        int master = -1;
        int terminal = -1;
        if (terminalStderr) {
            master = posix_openpt(O_RDWR | O_NOCTTY);
            EXPECT_GE(master, 0);
            if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0) {
                terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
            }
            EXPECT_GE(terminal, 0);
        }
        SRun run = RunSestool(_dir.string(), args, input, (_dir / "home").string(), terminal);
        if (master >= 0) {
            // The terminal side stays open here until the master is drained: no hang-up loses output.
            fcntl(master, F_SETFL, O_NONBLOCK);
            char piece[4096];
            for (ssize_t n; (n = read(master, piece, sizeof(piece))) > 0;) {
                run.err.append(piece, static_cast<size_t>(n));
            }
            close(master);
        }
        if (terminal >= 0) {
            close(terminal);
        }
        return run;
    }

    fs::path CertFolder() const { return _dir / "home" / ".config" / "VALKO" / "SesCertificates"; }

    // NewCert makes the certificate "ivanov" that the signing tests use; ", " inside its values must
    // not cut the name out of the module's "SN=..., G=..., O=..." description.
    void NewCert() {
        const SRun run = Run({"cert", "new", "--id", "ivanov", "--surname", "Ivanov", "--given-name",
                              "Ivan, Jr", "--organization", "Roga, Kopyta", "--email", "ivan@example.org"});
        ASSERT_EQ(run.exitCode, 0) << run.out << run.err;
    }

    fs::path _dir;
};

std::string Describe(const SRun& run) {
    return "exit " + std::to_string(run.exitCode) + "\nstdout: " + run.out + "\nstderr: " + run.err;
}

size_t Count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size())) {
        ++n;
    }
    return n;
}

// Masked blanks out what differs between two signatures of the same data.
std::string Masked(std::string container) {
    for (const std::string tag : {"SignId", "SignTimeUTC"}) {
        const std::string open = "<" + tag + ">";
        const size_t start = container.find(open);
        const size_t end = container.find("</" + tag + ">", start);
        if (start != std::string::npos && end != std::string::npos) {
            container.replace(start + open.size(), end - start - open.size(), "*");
        }
    }
    return container;
}

TEST_F(SestoolTest, HelpExplainsCommandsAndExitsZero) {
    struct SCase {
        std::vector<std::string> args;
        const char* mentions;
    };
    const SCase cases[] = {
        {{"--help"}, "request"},
        {{"help"}, "request"},
        {{"request", "--help"}, "--data FILE"},
        {{"help", "request"}, "Usage: sestool request"},
        {{"request", "-h", "missing.json"}, "Exit status"},
        {{"cert", "new", "--help"}, "--given-name G"},
        {{"help", "cert"}, "without braces"},
        {{"certs", "--help"}, "--json"},
        {{"sign", "--help"}, "FILE.sig.xml"},
        {{"verify", "-h"}, "INVALID: the data does not match the signature's CRC-64\n"},
        {{"hash", "--help"}, "CRC-64"},
        {{"sign", "--help"}, "--chunk-size N"},
        {{"stores", "--help"}, "GetCurStore"},
        {{"--help"}, "verify"},
        {{"--help"}, "stores"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mentions);
        const SRun run = Run(c.args);
        EXPECT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_NE(run.out.find(c.mentions), std::string::npos) << Describe(run);
    }
}

TEST_F(SestoolTest, UsageAndInputErrorsExitTwo) {
    const std::string request = File("request.json", R"({"mode":37})").string();
    const std::string data = File("data.bin", "abc").string();
    const std::string broken = File("broken.json", R"({"mode":)").string();
    const std::string array = File("array.json", "[1,2]").string();
    struct SCase {
        const char* label;
        std::vector<std::string> args;
        const char* says;
    };
    const SCase cases[] = {
        {"no command", {}, "Usage"},
        {"unknown command", {"frobnicate"}, "unknown command 'frobnicate'"},
        {"unknown option", {"request", "--bogus", request}, "unknown option '--bogus'"},
        {"missing value", {"request", request, "--out"}, "needs a value"},
        {"no request", {"request"}, "expected one"},
        {"two requests", {"request", request, request}, "expected one"},
        {"missing request file", {"request", (_dir / "missing.json").string()}, "cannot open"},
        {"missing data file", {"request", "--data", (_dir / "missing.bin").string(), request}, "cannot open"},
        {"broken JSON with --data", {"request", "--data", data, broken}, "invalid request JSON"},
        {"array with --data", {"request", "--data", data, array}, "must be a JSON object"},
        {"both from stdin", {"request", "--data", "-", "-"}, "standard input"},
        {"module not loadable", {"request", "--module", (_dir / "none.so").string(), request}, "none.so"},
        {"not a module", {"request", "--module", data, request}, "data.bin"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const SRun run = Run(c.args);
        EXPECT_EQ(run.exitCode, 2) << Describe(run);
        EXPECT_NE(run.err.find(c.says), std::string::npos) << Describe(run);
        EXPECT_EQ(run.out, "");
    }
}

// The exit code follows "errorCode"; stdout is the response JSON and a line end.
TEST_F(SestoolTest, ExitCodeFollowsErrorCode) {
    struct SCase {
        const char* request;
        std::vector<std::string> options;
        int exitCode;
        const char* json;  // a part of the printed response
    };
    const SCase cases[] = {
        {R"({"mode":37})", {}, 0, R"({"errorCode":0,)"},
        {R"({"mode":37,"clientId":"me"})", {"--service"}, 0, R"({"errorCode":0,)"},
        {R"({"mode":99})", {}, 1, R"("errorCode":16303)"},
        {R"({"mode":)", {}, 1, R"("errorCode":16300)"},
        // The private-key check runs before "test": --remote must reach the module as isLocal false.
        {R"({"mode":14,"test":true})", {"--remote"}, 1, R"({"errorCode":50,"errorMessage":""})"},
        {R"({"mode":14,"test":true})", {}, 0, R"({"errorCode":0,"errorMessage":"DONE"})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.request);
        std::vector<std::string> args{"request"};
        args.insert(args.end(), c.options.begin(), c.options.end());
        args.push_back(File("request.json", c.request).string());
        const SRun run = Run(args);
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        EXPECT_NE(run.out.find(c.json), std::string::npos) << Describe(run);
        ASSERT_FALSE(run.out.empty());
        EXPECT_EQ(run.out.back(), '\n');
        EXPECT_EQ(run.out.find('\n'), run.out.size() - 1) << "one line only";
    }
}

TEST_F(SestoolTest, DashReadsRequestFromStdin) {
    const SRun run = Run({"request", "-"}, R"({"mode":99})");
    EXPECT_EQ(run.exitCode, 1) << Describe(run);
    EXPECT_NE(run.out.find(R"("errorCode":16303)"), std::string::npos) << Describe(run);
}

// With --data the module must take the file bytes from behind the NUL: a raw "fileDataSize" wins
// over "fileData" (here undecodable) and replaces a size the bytes would not cover.
TEST_F(SestoolTest, DataTravelsBehindTheJson) {
    struct SCase {
        const char* request;
        int withoutData;
        int withData;
    };
    const SCase cases[] = {
        {R"({"mode":24,"fileData":"*"})", 1, 0},
        {R"({"mode":24,"fileDataSize":1000})", 1, 0},
    };
    const std::string data = File("data.bin", std::string("a\0b\xff", 4)).string();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.request);
        const std::string request = File("request.json", c.request).string();
        const SRun plain = Run({"request", request});
        EXPECT_EQ(plain.exitCode, c.withoutData) << Describe(plain);
        const SRun withData = Run({"request", "--data", data, request});
        EXPECT_EQ(withData.exitCode, c.withData) << Describe(withData);
        EXPECT_NE(withData.out.find(R"("errorCode":0)"), std::string::npos) << Describe(withData);
    }
}

TEST_F(SestoolTest, VerboseShowsModuleLogLines) {
    const std::string request = File("request.json", R"({"mode":37,"clientId":"me"})").string();
    const SRun quiet = Run({"request", request});
    EXPECT_EQ(quiet.exitCode, 0) << Describe(quiet);
    EXPECT_EQ(quiet.err.find("[log]"), std::string::npos) << Describe(quiet);

    const SRun verbose = Run({"request", "-v", request});
    EXPECT_EQ(verbose.exitCode, 0) << Describe(verbose);
    EXPECT_NE(verbose.err.find("[log] clientId =  me\n"), std::string::npos) << Describe(verbose);
    EXPECT_NE(verbose.err.find("[log] Module initialized\n"), std::string::npos) << Describe(verbose);
    EXPECT_EQ(verbose.out, quiet.out);
}

TEST_F(SestoolTest, OutFileIsNotWrittenWithoutResponseData) {
    const std::string request = File("request.json", R"({"mode":37})").string();
    const fs::path out = _dir / "never.bin";
    const SRun run = Run({"request", "--out", out.string(), request});
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    EXPECT_NE(run.err.find("carries no file data"), std::string::npos) << Describe(run);
    EXPECT_FALSE(fs::exists(out));
}

// CreateHash answers the CRC-64 of the data as decimal text behind the JSON.
TEST_F(SestoolTest, ResponseDataGoesToOutFile) {
    const std::string request = File("request.json", R"({"mode":50})").string();
    const std::string data = File("data.bin", "123456789").string();
    const fs::path out = _dir / "hash.txt";
    const SRun run = Run({"request", "--data", data, "--out", out.string(), request});
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    if (run.out.find("\"fileDataSize\"") == std::string::npos) {
        GTEST_SKIP() << "the module answers CreateHash without data yet: " << run.out;
    }
    EXPECT_NE(run.out.find(R"("fileDataSize":19)"), std::string::npos) << Describe(run);
    EXPECT_EQ(ReadFile(out), "7800480153909949255");
    const SRun piped = Run({"request", "--data", data, "--out", "-", request});
    EXPECT_EQ(piped.out, "7800480153909949255") << Describe(piped);
    EXPECT_NE(piped.err.find(R"("fileDataSize":19)"), std::string::npos) << Describe(piped);

    const SRun unsaved = Run({"request", "--data", data, request});
    EXPECT_EQ(unsaved.exitCode, 0) << Describe(unsaved);
    EXPECT_NE(unsaved.err.find("19 bytes of file data not saved; use --out FILE"), std::string::npos)
        << Describe(unsaved);
}

// The certificate file is the module's own document form, byte for byte: the module reads it back
// and lists the record.
TEST_F(SestoolTest, CertNewWritesARecordThatCertsLists) {
    const SRun made = Run({"cert",           "new",          "--id",         "ivanov",
                           "--surname",      "Ivanov",       "--given-name", "Ivan",
                           "--organization", "Roga, Kopyta", "--title",      "Clerk",
                           "--unit",         "Sales",        "--email",      "ivan@example.org",
                           "--phone",        "+7 900",       "--country",    "RU",
                           "--locality",     "Omsk",         "--address",    "Lenina 1"});
    ASSERT_EQ(made.exitCode, 0) << Describe(made);
    const fs::path file = CertFolder() / "ivanov.ses";
    EXPECT_EQ(made.out, "id:   ivanov\nfile: " + file.string() + "\n");
    EXPECT_EQ(ReadFile(file),
              "<SES Version=\"1.0\">\n"
              "    <Certificate>\n"
              "        <ID>ivanov</ID>\n"
              "        <Surname>Ivanov</Surname>\n"
              "        <GivenName>Ivan</GivenName>\n"
              "        <Organization>Roga, Kopyta</Organization>\n"
              "        <Title>Clerk</Title>\n"
              "        <OrganizationUnit>Sales</OrganizationUnit>\n"
              "        <Email>ivan@example.org</Email>\n"
              "        <Telephone>+7 900</Telephone>\n"
              "        <Country>RU</Country>\n"
              "        <Locality>Omsk</Locality>\n"
              "        <Address>Lenina 1</Address>\n"
              "    </Certificate>\n"
              "</SES>\n");
    EXPECT_EQ(fs::status(CertFolder()).permissions() & fs::perms::all, fs::perms::owner_all);
    ASSERT_EQ(Run({"cert", "new", "--id", "petrov", "--surname", "Петров", "--given-name", "Пётр"}).exitCode,
              0);

    const SRun table = Run({"certs"});
    EXPECT_EQ(table.exitCode, 0) << Describe(table);
    // Columns line up by characters, not bytes.
    EXPECT_EQ(table.out,
              "ID      NAME         ORGANIZATION  E-MAIL\n"
              "ivanov  Ivanov Ivan  Roga, Kopyta  ivan@example.org\n"
              "petrov  Петров Пётр\n");
    const SRun json = Run({"certs", "--json"});
    EXPECT_EQ(json.exitCode, 0) << Describe(json);
    EXPECT_EQ(json.out,
              R"([{"ID":"ivanov","Surname":"Ivanov","GivenName":"Ivan","Organization":"Roga, Kopyta",)"
              R"("Title":"Clerk","OrganizationUnit":"Sales","Email":"ivan@example.org","Telephone":"+7 900",)"
              R"("Country":"RU","Locality":"Omsk","Address":"Lenina 1"},)"
              R"({"ID":"petrov","Surname":"Петров","GivenName":"Пётр","Organization":"","Title":"",)"
              R"("OrganizationUnit":"","Email":"","Telephone":"","Country":"","Locality":"","Address":""}])"
              "\n");
}

TEST_F(SestoolTest, CertsWithoutCertificatesSaysSo) {
    const SRun table = Run({"certs"});
    EXPECT_EQ(table.exitCode, 0) << Describe(table);
    EXPECT_NE(table.out.find("No certificates in"), std::string::npos) << Describe(table);
    EXPECT_EQ(Run({"certs", "--json"}).out, "[]\n");
}

// certs names on stderr each file of the folder that the module left out, and prints the records'
// own texts escaped.
TEST_F(SestoolTest, CertsNamesSkippedFilesAndEscapesTexts) {
    ASSERT_EQ(Run({"cert", "new", "--id", "esc", "--surname", "Iv\x1b[31m", "--given-name", "A"}).exitCode,
              0);
    fs::copy_file(CertFolder() / "esc.ses", CertFolder() / "copy.ses");
    WriteFile(CertFolder() / "notes.txt", "x");
    WriteFile(CertFolder() / "bad\n\xff.ses", "<SES>");
    WriteFile(CertFolder() / "empty.ses", "<SES Version=\"1.0\"/>");
    fs::create_directory(CertFolder() / "folder.ses");
    const SRun run = Run({"certs"});
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    EXPECT_EQ(run.out, "ID   NAME            ORGANIZATION  E-MAIL\nesc  Iv\\u{1b}[31m A\n");
    const char* const skipped[] = {
        "'notes.txt': the name does not contain \".ses\"\n",
        "'bad\\n\\xff.ses': not a certificate record (no well-formed \"SES\" document)\n",
        "'empty.ses': not a certificate record (no \"Certificate\" element)\n",
        "'folder.ses': not a regular file\n",
        ".ses': the identifier 'esc' was loaded from another file first\n",
    };
    for (const char* line : skipped) {
        EXPECT_NE(run.err.find(line), std::string::npos) << line << "\n" << Describe(run);
    }
    EXPECT_EQ(Count(run.err, "sestool certs: skipped '"), std::size(skipped)) << Describe(run);
}

TEST_F(SestoolTest, CertNewReplacesAFileOnlyWithForce) {
    NewCert();
    const fs::path file = CertFolder() / "ivanov.ses";
    const std::string before = ReadFile(file);
    const std::vector<std::string> again{"cert",      "new",     "--id",         "ivanov",
                                         "--surname", "Sidorov", "--given-name", "S"};
    const SRun refused = Run(again);
    EXPECT_EQ(refused.exitCode, 2) << Describe(refused);
    EXPECT_NE(refused.err.find("already exists; use --force"), std::string::npos) << Describe(refused);
    EXPECT_EQ(ReadFile(file), before);

    std::vector<std::string> forced = again;
    forced.push_back("--force");
    const SRun replaced = Run(forced);
    EXPECT_EQ(replaced.exitCode, 0) << Describe(replaced);
    EXPECT_NE(ReadFile(file).find("<Surname>Sidorov</Surname>"), std::string::npos);
}

TEST_F(SestoolTest, CertNewWithoutIdNamesTheFileByUuid) {
    const SRun run = Run({"cert", "new", "--surname", "Ivanov", "--given-name", "Ivan"});
    ASSERT_EQ(run.exitCode, 0) << Describe(run);
    std::smatch match;
    const std::regex printed(
        "^id:   ([0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12})\n");
    ASSERT_TRUE(std::regex_search(run.out, match, printed)) << Describe(run);
    const std::string id = match[1];
    EXPECT_NE(ReadFile(CertFolder() / (id + ".ses")).find("<ID>" + id + "</ID>"), std::string::npos);
}

TEST_F(SestoolTest, EverydayCommandsRefuseBadUsageWithTwo) {
    const std::string data = File("data.txt", "123456789").string();
    const std::string missing = (_dir / "missing").string();
    // Sparse: 4 GiB and one byte on disk cost nothing, and the size alone refuses the file.
    const fs::path huge = _dir / "huge.bin";
    std::ofstream(huge).close();
    fs::resize_file(huge, (uint64_t{1} << 32) + 1);
    struct SCase {
        const char* label;
        std::vector<std::string> args;
        const char* says;
    };
    const SCase cases[] = {
        {"id escaping the folder",
         {"cert", "new", "--id", "../x", "--surname", "S", "--given-name", "G"},
         "'../x'"},
        {"id with a slash", {"cert", "new", "--id", "a/b", "--surname", "S", "--given-name", "G"}, "'a/b'"},
        {"id dot", {"cert", "new", "--id", ".", "--surname", "S", "--given-name", "G"}, "must not be empty"},
        {"id dot dot",
         {"cert", "new", "--id", "..", "--surname", "S", "--given-name", "G"},
         "must not be empty"},
        {"empty id", {"cert", "new", "--id", "", "--surname", "S", "--given-name", "G"}, "must not be empty"},
        {"no surname", {"cert", "new", "--id", "x", "--given-name", "G"}, "--surname is required"},
        {"no given name", {"cert", "new", "--id", "x", "--surname", "S"}, "--given-name is required"},
        {"cert without action", {"cert"}, "expected \"new\""},
        {"unknown cert action", {"cert", "delete"}, "unknown action 'delete'"},
        {"certs with an argument", {"certs", "x"}, "expected no arguments"},
        {"sign without --cert", {"sign", data}, "--cert ID is required"},
        {"sign without file", {"sign", "--cert", "x"}, "expected one FILE"},
        {"sign of a missing file", {"sign", "--cert", "x", missing}, "cannot open"},
        {"sign of stdin without -o", {"sign", "--cert", "x", "-"}, "needs -o"},
        {"sign of a file of 4 GiB", {"sign", "--cert", "x", huge.string()}, "files of less than 4 GiB"},
        {"verify of a file of 4 GiB", {"verify", huge.string(), data}, "files of less than 4 GiB"},
        {"verify with one file", {"verify", data}, "expected FILE and SIGNATURE"},
        {"verify with a missing signature", {"verify", data, missing}, "cannot open"},
        {"hash of a missing file", {"hash", missing}, "cannot open"},
        {"chunk size zero", {"hash", "--chunk-size", "0", data}, "--chunk-size '0'"},
        {"chunk size over 1G", {"sign", "--cert", "x", "--chunk-size", "1025M", data}, "from 1 to 1G"},
        {"chunk size with a fraction", {"verify", "--chunk-size=1.5M", data, data}, "'1.5M'"},
        {"chunk size with an unknown suffix", {"hash", "--chunk-size", "8T", data}, "'8T'"},
        {"chunk size with two suffixes", {"hash", "--chunk-size", "8MB", data}, "'8MB'"},
        {"chunk size negative", {"hash", "--chunk-size", "-1", data}, "'-1'"},
        {"chunk size empty", {"hash", "--chunk-size=", data}, "--chunk-size ''"},
        {"chunk size past 64 bits", {"hash", "--chunk-size", "18446744073709551616", data}, "from 1 to 1G"},
        {"chunk size without value", {"hash", data, "--chunk-size"}, "needs a value"},
        {"chunk size on certs", {"certs", "--chunk-size", "3"}, "unknown option '--chunk-size'"},
        {"stores with an argument", {"stores", "MY"}, "expected no arguments"},
        {"hash with an unknown option", {"hash", "--fast", data}, "unknown option '--fast'"},
        {"module not loadable", {"hash", "--module", missing, data}, "missing"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const SRun run = Run(c.args);
        EXPECT_EQ(run.exitCode, 2) << Describe(run);
        EXPECT_NE(run.err.find(c.says), std::string::npos) << Describe(run);
        EXPECT_EQ(run.out, "") << Describe(run);
    }
    EXPECT_FALSE(fs::exists(_dir / "x.ses"));
    EXPECT_FALSE(fs::exists(CertFolder() / ".." / "x.ses"));
}

// verify: 0 when the data is what was signed, 1 when one byte differs; the text says it plainly
// and --json gives the module's "signInfo" with the same exit code. The comment is the signer's
// text: its line break and terminal escape are printed escaped, so it cannot forge a verdict line.
TEST_F(SestoolTest, VerifyTellsWhetherTheDataMatches) {
    NewCert();
    const std::string data = File("report.txt", "quarterly report\n").string();
    const SRun signedRun = Run({"sign", "--cert", "ivanov", "--comment",
                                "approved\nVALID: forged\x1b[1A\t\\\u0085\u202e", "--uri", "urn:x", data});
    ASSERT_EQ(signedRun.exitCode, 0) << Describe(signedRun);
    EXPECT_NE(signedRun.out.find("Signature written to " + data + ".sig.xml\n"), std::string::npos);
    const std::string signature = data + ".sig.xml";
    struct SCase {
        const char* label;
        std::string bytes;
        int exitCode;
        const char* verdict;
        const char* jsonResult;
    };
    const SCase cases[] = {
        {"unchanged", "quarterly report\n", 0, "VALID: the data matches the signature's CRC-64\n",
         R"("SignatureVerifyResult":0,)"},
        {"one byte changed", "quarterly rePort\n", 1,
         "INVALID: the data does not match the signature's CRC-64\n", R"("SignatureVerifyResult":16109,)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const std::string checked = File("checked.txt", c.bytes).string();
        const SRun run = Run({"verify", checked, signature});
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        const std::regex text(
            "Signed by: Ivanov Ivan, Jr \\(certificate ivanov\\)\n"
            "Signed at: [0-3][0-9]\\.[01][0-9]\\.[0-9]{4} [0-2][0-9]:[0-5][0-9]:[0-6][0-9] UTC\n"
            "Comment:   ");
        EXPECT_TRUE(std::regex_search(run.out, text)) << Describe(run);
        EXPECT_NE(
            run.out.find(
                "Comment:   approved\\nVALID: forged\\u{1b}[1A\\t\\\\\\u{85}\\u{202e}\nURI:       urn:x\n"),
            std::string::npos)
            << Describe(run);
        EXPECT_EQ(Count(run.out, "\nVALID"), c.exitCode == 0 ? 1u : 0u) << Describe(run);
        ASSERT_GE(run.out.size(), 2u);
        const size_t lastLine = run.out.rfind('\n', run.out.size() - 2) + 1;
        EXPECT_EQ(run.out.substr(lastLine), c.verdict) << Describe(run);

        const SRun json = Run({"verify", "--json", checked, signature});
        EXPECT_EQ(json.exitCode, c.exitCode) << Describe(json);
        EXPECT_EQ(json.out.rfind(R"([{"VerifyResultEx":{)", 0), 0u) << Describe(json);
        EXPECT_NE(json.out.find(c.jsonResult), std::string::npos) << Describe(json);
    }
}

TEST_F(SestoolTest, SignWithAnUnknownCertificateExitsOne) {
    NewCert();
    const std::string data = File("data.txt", "abc").string();
    const SRun run = Run({"sign", "--cert", "nobody", data});
    EXPECT_EQ(run.exitCode, 1) << Describe(run);
    EXPECT_NE(run.err.find("sestool: NEED (code 16104)\n"), std::string::npos) << Describe(run);
    EXPECT_NE(run.err.find("no certificate 'nobody'"), std::string::npos) << Describe(run);
    EXPECT_FALSE(fs::exists(data + ".sig.xml"));
}

// Anything that is no readable detached signature is a failure to check (2), not "INVALID" (1).
TEST_F(SestoolTest, UnverifiableSignaturesExitTwo) {
    NewCert();
    const std::string data = File("data.txt", "abc").string();
    const std::string attached = (_dir / "attached.xml").string();
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", "--attached", data, "-o", attached}).exitCode, 0);
    struct SCase {
        const char* label;
        std::string signature;
        std::vector<const char*> says;
    };
    const SCase cases[] = {
        {"attached", attached, {"(code 16101)", "attached signature", "cannot be verified"}},
        {"not XML", File("garbage.xml", "not a container").string(), {"(code 16101)", "not a well-formed"}},
        {"certificate only", (CertFolder() / "ivanov.ses").string(), {"holds no signature"}},
        {"empty", File("empty.xml", "").string(), {"is empty"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const SRun run = Run({"verify", data, c.signature});
        EXPECT_EQ(run.exitCode, 2) << Describe(run);
        for (const char* text : c.says) {
            EXPECT_NE(run.err.find(text), std::string::npos) << text << "\n" << Describe(run);
        }
        EXPECT_EQ(run.out.find("VALID"), std::string::npos) << Describe(run);
    }
}

TEST_F(SestoolTest, HashPrintsTheCrc64) {
    struct SCase {
        const char* data;
        const char* printed;
    };
    const SCase cases[] = {{"123456789", "7800480153909949255\n"}, {"", "0\n"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.data);
        const SRun run = Run({"hash", File("data.txt", c.data).string()});
        EXPECT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_EQ(run.out, c.printed);
        const SRun piped = Run({"hash", "-"}, c.data);
        EXPECT_EQ(piped.out, c.printed) << Describe(piped);
    }
}

// The container sign writes: certificate, then EDS with the caller's texts and the CRC ("123456789"
// has CRC-64 7800480153909949255, base64 of its digits); Attached sits between URI and CRC.
TEST_F(SestoolTest, SignWritesTheContainerLayout) {
    NewCert();
    const std::string head =
        "<SES Version=\"1.0\">\n"
        "    <Certificate>\n"
        "        <ID>ivanov</ID>\n"
        "        <Surname>Ivanov</Surname>\n"
        "        <GivenName>Ivan, Jr</GivenName>\n"
        "        <Organization>Roga, Kopyta</Organization>\n"
        "        <Title />\n"
        "        <OrganizationUnit />\n"
        "        <Email>ivan@example.org</Email>\n"
        "        <Telephone />\n"
        "        <Country />\n"
        "        <Locality />\n"
        "        <Address />\n"
        "    </Certificate>\n"
        "    <EDS>\n"
        "        <SignId>*</SignId>\n"
        "        <SignTimeUTC>*</SignTimeUTC>\n";
    const std::string tail =
        "        <CRC Set=\"st_1\">NzgwMDQ4MDE1MzkwOTk0OTI1NQ==</CRC>\n"
        "    </EDS>\n"
        "</SES>\n";
    struct SCase {
        const char* label;
        std::vector<std::string> options;
        std::string eds;
    };
    const SCase cases[] = {
        {"detached, no texts", {}, "        <Comment />\n        <URI />\n"},
        {"detached with texts",
         {"--comment", "ok & done", "--uri", "urn:a"},
         "        <Comment>ok &amp; done</Comment>\n        <URI>urn:a</URI>\n"},
        {"attached",
         {"--attached"},
         "        <Comment />\n        <URI />\n        <Attached>MTIzNDU2Nzg5</Attached>\n"},
    };
    const std::string data = File("data.txt", "123456789").string();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::vector<std::string> args{"sign", "--cert", "ivanov", data};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const SRun run = Run(args);
        ASSERT_EQ(run.exitCode, 0) << Describe(run);
        const std::string written = ReadFile(data + ".sig.xml");
        EXPECT_TRUE(std::regex_search(written, std::regex("<SignId>[0-9]+</SignId>")));
        EXPECT_TRUE(std::regex_search(
            written,
            std::regex(
                "<SignTimeUTC>[0-9]{2}\\.[0-9]{2}\\.[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}</SignTimeUTC>")));
        const std::string masked =
            std::regex_replace(written, std::regex("<(SignId|SignTimeUTC)>[^<]*</"), "<$1>*</");
        EXPECT_EQ(masked, head + c.eds + tail);
    }
}

// "-o -" puts the container on standard output and the summary on standard error.
TEST_F(SestoolTest, SignToStandardOutput) {
    NewCert();
    const std::string data = File("data.txt", "123456789").string();
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", data}).exitCode, 0);
    const SRun run = Run({"sign", "--cert", "ivanov", "-o", "-", "-"}, "123456789");
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    EXPECT_EQ(Masked(run.out), Masked(ReadFile(data + ".sig.xml")));
    EXPECT_NE(run.err.find("Signature written to standard output\n"), std::string::npos) << Describe(run);
    EXPECT_FALSE(fs::exists("-"));
}

// A chunked signature signs the same bytes as one call: only SignId and SignTimeUTC differ, whether
// the chunks divide the data evenly, leave a short last chunk or come from a pipe. "-v" shows one
// "> StreamSign" line per chunk, so the count proves the data really went in those chunks.
TEST_F(SestoolTest, StreamedSignatureEqualsOneShot) {
    NewCert();
    const std::string bytes = "123456789";
    const std::string data = File("data.txt", bytes).string();
    const std::string oneShotPath = (_dir / "one.xml").string();
    const std::vector<std::string> texts{"--comment", "ok", "--uri", "urn:a"};
    std::vector<std::string> oneShotArgs{"sign", "--cert", "ivanov", data, "-o", oneShotPath};
    oneShotArgs.insert(oneShotArgs.end(), texts.begin(), texts.end());
    ASSERT_EQ(Run(oneShotArgs).exitCode, 0);
    const std::string oneShot = Masked(ReadFile(oneShotPath));
    ASSERT_NE(oneShot.find("<CRC Set=\"st_1\">NzgwMDQ4MDE1MzkwOTk0OTI1NQ==</CRC>"), std::string::npos)
        << oneShot;
    ASSERT_NE(oneShot.find("<Comment>ok</Comment>"), std::string::npos) << oneShot;

    struct SCase {
        const char* chunkSize;
        bool fromStdin;
        size_t chunks;  // 0: one call, no stream
    };
    const SCase cases[] = {
        {"3", false, 3}, {"4", false, 3}, {"1", false, 9}, {"2", true, 5}, {"1K", false, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.chunkSize) + (c.fromStdin ? " from stdin" : ""));
        const fs::path out = _dir / "streamed.xml";
        std::vector<std::string> args{
            "sign",         "--cert",    "ivanov", "-v",        c.fromStdin ? "-" : data,
            "--chunk-size", c.chunkSize, "-o",     out.string()};
        args.insert(args.end(), texts.begin(), texts.end());
        const SRun run = Run(args, c.fromStdin ? bytes : std::string());
        ASSERT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_EQ(Count(run.err, "[log] > StreamSign\n"), c.chunks) << run.err;
        EXPECT_EQ(Count(run.err, "[log] > Sign\n"), c.chunks == 0 ? 1u : 0u) << run.err;
        EXPECT_EQ(Masked(ReadFile(out)), oneShot);
    }

    // The module's error on the final chunk is reported like any other, and nothing is written.
    const SRun unknown =
        Run({"sign", "--cert", "nobody", "--chunk-size", "2", data, "-o", oneShotPath + "2"});
    EXPECT_EQ(unknown.exitCode, 1) << Describe(unknown);
    EXPECT_NE(unknown.err.find("sestool: NEED (code 16104)\n"), std::string::npos) << Describe(unknown);
    EXPECT_FALSE(fs::exists(oneShotPath + "2"));
}

// verify through StreamGetSignInfo: the container rides on the final chunk only, and the verdict is
// the one-shot verdict.
TEST_F(SestoolTest, StreamedVerifyGivesTheOneShotVerdict) {
    NewCert();
    const std::string data = File("report.txt", "quarterly report\n").string();
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", data}).exitCode, 0);
    const std::string signature = data + ".sig.xml";
    struct SCase {
        const char* label;
        std::string bytes;
        bool fromStdin;
        int exitCode;
        const char* verdict;
        size_t chunks;
    };
    const SCase cases[] = {
        {"unchanged", "quarterly report\n", false, 0, "VALID: the data matches", 4},
        {"unchanged from a pipe", "quarterly report\n", true, 0, "VALID: the data matches", 4},
        {"one byte changed", "quarterly rePort\n", false, 1, "INVALID: the data does not match", 4},
        {"last byte missing", "quarterly report", false, 1, "INVALID: the data does not match", 4},
        {"a chunk appended", "quarterly report\nmore!", false, 1, "INVALID: the data does not match", 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const std::string checked = c.fromStdin ? "-" : File("checked.txt", c.bytes).string();
        const SRun run = Run({"verify", "-v", "--chunk-size", "5", checked, signature}, c.bytes);
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        EXPECT_NE(run.out.find(c.verdict), std::string::npos) << Describe(run);
        EXPECT_EQ(Count(run.err, "[log] > StreamGetSignInfo\n"), c.chunks) << run.err;
    }
}

// hash through the hashing stream equals the one-shot CRC, known answer included.
TEST_F(SestoolTest, StreamedHashEqualsOneShot) {
    std::string mixed;
    for (int i = 0; i < 5000; ++i) {
        mixed += static_cast<char>((i * 7919) % 251);
    }
    const SRun oneShot = Run({"hash", File("mixed.bin", mixed).string()});
    ASSERT_EQ(oneShot.exitCode, 0) << Describe(oneShot);
    struct SCase {
        const char* label;
        std::string bytes;
        const char* chunkSize;
        bool fromStdin;
        std::string printed;
        size_t chunks;
    };
    const SCase cases[] = {
        {"known answer", "123456789", "2", false, "7800480153909949255\n", 5},
        {"known answer from a pipe", "123456789", "4", true, "7800480153909949255\n", 3},
        {"uneven chunks", mixed, "999", false, oneShot.out, 6},
        {"chunks in K", mixed, "1k", true, oneShot.out, 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const std::string file = c.fromStdin ? "-" : File("data.bin", c.bytes).string();
        const SRun run = Run({"hash", "-v", "--chunk-size", c.chunkSize, file}, c.bytes);
        EXPECT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_EQ(run.out, c.printed);
        EXPECT_EQ(Count(run.err, "[log] > StreamHash\n"), c.chunks) << run.err;
    }
}

// The progress line is for someone watching a terminal: a redirected standard error stays clean,
// and a single call has no progress to show.
TEST_F(SestoolTest, ProgressLineOnlyOnATerminalWhileStreaming) {
    const std::string data = File("data.bin", std::string(1000, 'x')).string();
    const SRun redirected = Run({"hash", "--chunk-size", "100", data});
    EXPECT_EQ(redirected.exitCode, 0) << Describe(redirected);
    EXPECT_EQ(redirected.err, "");

    const SRun terminal = Run({"hash", "--chunk-size", "100", data}, {}, true);
    EXPECT_EQ(terminal.exitCode, 0) << Describe(terminal);
    EXPECT_EQ(terminal.out, redirected.out);
    EXPECT_NE(terminal.err.find("\rhash [########################] 0.0 / 0.0 MiB  100%  "), std::string::npos)
        << terminal.err;
    EXPECT_NE(terminal.err.find(" MB/s"), std::string::npos) << terminal.err;
    ASSERT_FALSE(terminal.err.empty());
    EXPECT_EQ(terminal.err.back(), '\n') << "the line is finished";

    const SRun single = Run({"hash", data}, {}, true);
    EXPECT_EQ(single.exitCode, 0) << Describe(single);
    EXPECT_EQ(single.err, "");
}

TEST_F(SestoolTest, StoresListsTheStoresAndTheCurrentStore) {
    const SRun text = Run({"stores"});
    EXPECT_EQ(text.exitCode, 0) << Describe(text);
    EXPECT_EQ(text.out, "Stores of the module:\n  MY\nCurrent store of this client:\n  VALKOTempStore\n");
    const SRun json = Run({"stores", "--json"});
    EXPECT_EQ(json.exitCode, 0) << Describe(json);
    EXPECT_EQ(json.out,
              R"({"stores":["MY"],"storeAddresses":[{"location":"","address":"","name":"VALKOTempStore"}]})"
              "\n");
}

}  // namespace
