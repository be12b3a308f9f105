// Every sestool command refuses bad usage and unreadable input with exit code 2, a message on
// standard error and nothing on standard output.
#include <filesystem>

#include "tests/support/ToolRun.h"

namespace {

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
        SCOPED_TRACE(::testing::PrintToString(c.args));
        const SToolRun run = Run(c.args);
        EXPECT_EQ(run.exitCode, 2) << Describe(run);
        EXPECT_THAT(run.err, HasSubstr(c.says)) << Describe(run);
        EXPECT_EQ(run.out, "") << Describe(run);
    }
    EXPECT_FALSE(std::filesystem::exists(home.Path() + "/x.ses"));
    EXPECT_FALSE(std::filesystem::exists(CertFolder() + "/../x.ses"));
}

}  // namespace
