// "sestool request": one request through the module's C interface, the response on stdout.
#include <filesystem>

#include "tests/support/ToolRun.h"

namespace {

using RequestTest = CToolTest;

TEST_F(RequestTest, HelpWinsOverEverythingElse) {
    for (const std::vector<std::string>& args : {std::vector<std::string>{"--help"},
                                                 {"help", "request"},
                                                 {"request", "-h", "missing.json"},
                                                 {"config", "--help"}}) {
        const SToolRun run = Run(args);
        EXPECT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_THAT(run.out, HasSubstr("Usage: sestool"));
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
    const SToolRun quiet = Run({"request", request});
    EXPECT_EQ(quiet.exitCode, 0) << Describe(quiet);
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
    const SToolRun none = Run({"request", "--out", out, File("request.json", R"({"mode":37})")});
    EXPECT_EQ(none.exitCode, 0) << Describe(none);
    EXPECT_THAT(none.err, HasSubstr("carries no file data"));
    EXPECT_FALSE(std::filesystem::exists(out));

    const SToolRun saved = Run({"request", "--data", data, "--out", out, hash});
    EXPECT_EQ(saved.exitCode, 0) << Describe(saved);
    EXPECT_THAT(saved.out, HasSubstr(R"("fileDataSize":19)"));
    EXPECT_EQ(Read(out), "7800480153909949255");
    const SToolRun piped = Run({"request", "--data", data, "--out", "-", hash});
    EXPECT_EQ(piped.out, "7800480153909949255") << Describe(piped);
    EXPECT_THAT(piped.err, HasSubstr(R"("fileDataSize":19)"));
    const SToolRun unsaved = Run({"request", "--data", data, hash});
    EXPECT_EQ(unsaved.exitCode, 0) << Describe(unsaved);
    EXPECT_THAT(unsaved.err, HasSubstr("19 bytes of file data not saved; use --out FILE"));
}

}  // namespace
