// "sestool request": one request through the module's C interface, the response on stdout; and every
// command refuses bad usage and unreadable input with exit code 2, a message on standard error and
// nothing on standard output.
#include <filesystem>

#include "tests/support/ToolRun.h"

namespace {

using RequestTest = CToolTest;

TEST_F(RequestTest, HelpWinsOverEverythingElse) {
    for (const std::vector<std::string>& args : {std::vector<std::string>{"--help"},
                                                 {"help", "request"},
                                                 {"request", "-h", "missing.json"},
                                                 {"config", "--help"}}) {
        EXPECT_THAT(RunOk(args).out, HasSubstr("Usage: sestool"));
    }
}

// The exit code follows "errorCode"; stdout is the response JSON on one line. With --data the module
// must take the file bytes from behind the NUL: a raw "fileDataSize" wins over "fileData" (here
// undecodable) and replaces a size the bytes would not cover.
TEST_F(RequestTest, ExitCodeFollowsErrorCode) {
    const std::string data = File("data.bin", std::string("a\0b\xff", 4));
    const struct {
        const char* request;
        std::vector<std::string> options;
        int exitCode;
        const char* json;  // a part of the printed response
    } cases[] = {{R"({"mode":37})", {}, 0, R"({"errorCode":0,)"},
                 {R"({"mode":37,"clientId":"me"})", {"--service"}, 0, R"({"errorCode":0,)"},
                 {R"({"mode":99})", {}, 1, R"("errorCode":16303)"},
                 {R"({"mode":99})", {"-"}, 1, R"("errorCode":16303)"},  // "-": the request from stdin
                 {R"({"mode":)", {}, 1, R"("errorCode":16300)"},
                 // The private-key check runs before "test": --remote must reach the module as isLocal false.
                 {R"({"mode":14,"test":true})", {"--remote"}, 1, R"({"errorCode":50,"errorMessage":""})"},
                 {R"({"mode":14,"test":true})", {}, 0, R"({"errorCode":0,"errorMessage":"DONE"})"},
                 {R"({"mode":24,"fileData":"*"})", {}, 1, R"("errorCode":16118)"},
                 {R"({"mode":24,"fileData":"*"})", {"--data", data}, 0, R"({"errorCode":0,)"},
                 {R"({"mode":24,"fileDataSize":1000})", {}, 1, R"("errorCode":16118)"},
                 {R"({"mode":24,"fileDataSize":1000})", {"--data", data}, 0, R"({"errorCode":0,)"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.request);
        std::vector<std::string> args{"request"};
        args.insert(args.end(), c.options.begin(), c.options.end());
        if (c.options.empty() || c.options.back() != "-") {
            args.push_back(File("request.json", c.request));
        }
        const SToolRun run = Run(args, c.request);
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        EXPECT_THAT(run.out, HasSubstr(c.json));
        EXPECT_EQ(run.out.find('\n'), run.out.size() - 1) << "one line";
    }
}

TEST_F(RequestTest, VerboseShowsModuleLogLines) {
    const std::string request = File("request.json", R"({"mode":37,"clientId":"me"})");
    const SToolRun quiet = RunOk({"request", request});
    EXPECT_THAT(quiet.err, ::testing::Not(HasSubstr("[log]")));
    const SToolRun verbose = Run({"request", "-v", request});
    EXPECT_THAT(verbose.err, HasSubstr("[log] Module initialized\n"));
    EXPECT_THAT(verbose.err, HasSubstr("[log] clientId =  me\n"));
    EXPECT_EQ(verbose.out, quiet.out);
}

// CreateHash answers the CRC-64 of the data as decimal text behind the JSON.
TEST_F(RequestTest, ResponseDataGoesToOutFile) {
    const std::string hash = File("hash.json", R"({"mode":50})");
    const std::string data = File("data.bin", "123456789");
    const std::string out = home.Path() + "/out.bin";
    EXPECT_THAT(RunOk({"request", "--out", out, File("request.json", R"({"mode":37})")}).err,
                HasSubstr("carries no file data"));
    EXPECT_FALSE(std::filesystem::exists(out));

    EXPECT_THAT(RunOk({"request", "--data", data, "--out", out, hash}).out,
                HasSubstr(R"("fileDataSize":19)"));
    EXPECT_EQ(Read(out), "7800480153909949255");
    const SToolRun piped = Run({"request", "--data", data, "--out", "-", hash});
    EXPECT_EQ(piped.out, "7800480153909949255") << Describe(piped);
    EXPECT_THAT(piped.err, HasSubstr(R"("fileDataSize":19)"));
    EXPECT_THAT(RunOk({"request", "--data", data, hash}).err,
                HasSubstr("19 bytes of file data not saved; use --out FILE"));
}

using UsageTest = CToolTest;

TEST_F(UsageTest, BadUsageExitsTwo) {
    const std::string data = File("data.txt", "123456789");
    const std::string request = File("request.json", R"({"mode":37})");
    const std::string broken = File("broken.json", R"({"mode":)");
    const std::string array = File("array.json", "[1,2]");
    const std::string missing = home.Path() + "/missing";
    // Sparse: 4 GiB and one byte on disk cost nothing, and the size alone refuses the file.
    const std::string huge = File("huge.bin", "");
    std::filesystem::resize_file(huge, (uint64_t{1} << 32) + 1);
    const struct {
        std::vector<std::string> args;
        const char* says;
    } cases[] = {{{}, "Usage"},
                 {{"frobnicate"}, "unknown command 'frobnicate'"},
                 {{"request", "--bogus", request}, "unknown option '--bogus'"},
                 {{"request", request, "--out"}, "needs a value"},
                 {{"request"}, "expected one"},
                 {{"request", request, request}, "expected one"},
                 {{"request", missing}, "cannot open"},
                 {{"request", "--data", missing, request}, "cannot open"},
                 {{"request", "--data", data, broken}, "invalid request JSON"},
                 {{"request", "--data", data, array}, "must be a JSON object"},
                 {{"request", "--data", "-", "-"}, "standard input"},
                 {{"request", "--module", missing, request}, "missing"},
                 {{"request", "--module", data, request}, "data.txt"},  // not a module
                 {{"cert", "new", "--id", "../x", "--surname", "S", "--given-name", "G"}, "'../x'"},
                 {{"cert", "new", "--id", "a/b", "--surname", "S", "--given-name", "G"}, "'a/b'"},
                 {{"cert", "new", "--id", ".", "--surname", "S", "--given-name", "G"}, "must not be empty"},
                 {{"cert", "new", "--id", "..", "--surname", "S", "--given-name", "G"}, "must not be empty"},
                 {{"cert", "new", "--id", "", "--surname", "S", "--given-name", "G"}, "must not be empty"},
                 {{"cert", "new", "--id", "x", "--given-name", "G"}, "--surname is required"},
                 {{"cert", "new", "--id", "x", "--surname", "S"}, "--given-name is required"},
                 {{"cert"}, "expected \"new\""},
                 {{"cert", "delete"}, "unknown action 'delete'"},
                 {{"certs", "x"}, "expected no arguments"},
                 {{"certs", "--chunk-size", "3"}, "unknown option '--chunk-size'"},
                 {{"stores", "MY"}, "expected no arguments"},
                 {{"sign", data}, "--cert ID is required"},
                 {{"sign", "--cert", "x"}, "expected one FILE"},
                 {{"sign", "--cert", "x", missing}, "cannot open"},
                 {{"sign", "--cert", "x", "-"}, "needs -o"},
                 {{"sign", "--cert", "x", huge}, "files of less than 4 GiB"},
                 {{"verify", huge, data}, "files of less than 4 GiB"},
                 {{"verify", data}, "expected FILE and SIGNATURE"},
                 {{"verify", data, missing}, "cannot open"},
                 {{"hash", missing}, "cannot open"},
                 {{"hash", "--fast", data}, "unknown option '--fast'"},
                 {{"hash", "--module", missing, data}, "missing"},
                 {{"--version", "--module", missing}, "missing"},
                 {{"--version", "--module", data}, "data.txt"},
                 {{"--version", data}, "expected no arguments"},
                 {{"hash", "--chunk-size", "0", data}, "--chunk-size '0'"},
                 {{"sign", "--cert", "x", "--chunk-size", "1025M", data}, "from 1 to 1G"},
                 {{"verify", "--chunk-size=1.5M", data, data}, "'1.5M'"},
                 {{"hash", "--chunk-size", "8T", data}, "'8T'"},
                 {{"hash", "--chunk-size", "8MB", data}, "'8MB'"},
                 {{"hash", "--chunk-size", "-1", data}, "'-1'"},
                 {{"hash", "--chunk-size=", data}, "--chunk-size ''"},
                 {{"hash", "--chunk-size", "18446744073709551616", data}, "from 1 to 1G"},
                 {{"hash", data, "--chunk-size"}, "needs a value"},
                 {{"config"}, "expected \"show\" or \"init\""},
                 {{"config", "bogus"}, "bogus"},
                 {{"config", "show", "--force"}, "--force"},
                 {{"config", "show", "extra"}, "expected \"show\" or \"init\""},
                 {{"config", "init", "--bogus"}, "--bogus"}};
    for (const auto& c : cases) {
        EXPECT_EQ(RunFails(c.args, 2, c.says).out, "") << ::testing::PrintToString(c.args);
    }
    EXPECT_FALSE(std::filesystem::exists(home.Path() + "/x.ses"));
    EXPECT_FALSE(std::filesystem::exists(CertFolder() + "/../x.ses"));
}

}  // namespace
