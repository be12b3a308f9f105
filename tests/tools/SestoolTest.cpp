// Runs the built sestool as a child process against the built module, with HOME in a fresh folder.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct SRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

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
    SRun Run(const std::vector<std::string>& args, const std::string& input = {}) {
        const fs::path in = File("stdin", input);
        const fs::path out = _dir / "stdout";
        const fs::path err = _dir / "stderr";
        const std::string home = (_dir / "home").string();
        const std::string config = (_dir / "home" / ".config").string();
        std::vector<char*> argv;
        std::string tool = SES_TOOL_PATH;
        argv.push_back(tool.data());
        std::vector<std::string> copies(args);
        for (auto& arg : copies) {
            argv.push_back(arg.data());
        }
        argv.push_back(nullptr);

        SRun run;
        const pid_t pid = fork();
        if (pid == 0) {
            const int fdIn = open(in.c_str(), O_RDONLY);
            const int fdOut = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            const int fdErr = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            if (fdIn < 0 || fdOut < 0 || fdErr < 0 || dup2(fdIn, 0) < 0 || dup2(fdOut, 1) < 0 ||
                dup2(fdErr, 2) < 0) {
                _exit(127);
            }
            setenv("HOME", home.c_str(), 1);
            setenv("XDG_CONFIG_HOME", config.c_str(), 1);
            setenv("QT_QPA_PLATFORM", "offscreen", 1);
            execv(argv[0], argv.data());
            _exit(127);
        }
        int status = 0;
        if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
            run.exitCode = WEXITSTATUS(status);
        }
        run.out = ReadFile(out);
        run.err = ReadFile(err);
        return run;
    }

    fs::path _dir;
};

std::string Describe(const SRun& run) {
    return "exit " + std::to_string(run.exitCode) + "\nstdout: " + run.out + "\nstderr: " + run.err;
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
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.back());
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

    const SRun unsaved = Run({"request", "--data", data, request});
    EXPECT_EQ(unsaved.exitCode, 0) << Describe(unsaved);
    EXPECT_NE(unsaved.err.find("19 bytes of file data not saved; use --out FILE"), std::string::npos)
        << Describe(unsaved);
}

}  // namespace
