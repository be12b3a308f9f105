// "sestool config show" prints what the module reads; "config init" writes the defaults.
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileUtil.h"
#include "config/ConfigFileParser.h"
#include "tests/support/ToolRun.h"

namespace {

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
    const struct {
        const char* file;  // null: no file
        const char* warning;
    } cases[] = {
        {nullptr, "OruCryptoSvcConfig.ini: Failed to open(create) configuration file; the values"},
        {"[Service settings]\nLogMode=3\nHttpPort=abc\n", "OruCryptoSvcConfig.ini: stoi; the values"},
        {"[Service settings]\nLogMode=2\n[Custom CDP list]\n1=http://cdp\n", nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file == nullptr ? "no file" : c.file);
        if (c.file != nullptr) {
            home.WriteConfig(c.file);
        }
        const SToolRun run = Run({"config", "show"});
        EXPECT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_EQ(run.err.empty(), c.warning == nullptr) << Describe(run);
        EXPECT_THAT(run.err, HasSubstr(c.warning == nullptr ? "" : c.warning));
        EXPECT_EQ(Json(run.out), ModuleView());
    }
}

TEST_F(ConfigCommandTest, InitWritesDefaultsAndRefusesToOverwrite) {
    const SToolRun first = Run({"config", "init"});
    EXPECT_EQ(first.exitCode, 0) << Describe(first);
    EXPECT_EQ(first.out, home.ConfigPath() + "\n");
    const std::string written = Read(home.ConfigPath());
    EXPECT_EQ(written.rfind("# SHA-1 of the lines below: ", 0), 0u);
    EXPECT_EQ(ModuleView(), Json(ca::ConfigFileParser()));

    ASSERT_TRUE(ca::StringToFile(home.ConfigPath(), "[Service settings]\nLogMode=1\n"));
    const SToolRun again = Run({"config", "init"});
    EXPECT_EQ(again.exitCode, 2);
    EXPECT_THAT(again.err, HasSubstr("--force"));
    EXPECT_EQ(Read(home.ConfigPath()), "[Service settings]\nLogMode=1\n");
    EXPECT_EQ(Run({"config", "init", "--force"}).exitCode, 0);
    EXPECT_EQ(Read(home.ConfigPath()), written);
}

// init never opens what is not a regular file (a FIFO would block it) and never writes through a
// link that leads nowhere.
TEST_F(ConfigCommandTest, InitRefusesSpecialTargets) {
    const struct {
        const char* force;
        int (*make)(const char* path);
        const char* says;
    } cases[] = {
        {"--force", [](const char* path) { return mkfifo(path, 0600); }, "is a FIFO"},
        {"--force", [](const char* path) { return symlink("../missing.ini", path); }, "leads to no file"},
        {"", [](const char* path) { return symlink("../missing.ini", path); }, "exists; add --force"}};
    home.WriteConfig("");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says);
        unlink(home.ConfigPath().c_str());
        ASSERT_EQ(c.make(home.ConfigPath().c_str()), 0);
        const SToolRun run = Run(*c.force != '\0' ? std::vector<std::string>{"config", "init", c.force}
                                                  : std::vector<std::string>{"config", "init"});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_THAT(run.err, HasSubstr(c.says));
        EXPECT_FALSE(ca::IsRegularFile(home.ConfigPath()));
        EXPECT_FALSE(ca::IsRegularFile(home.Path() + "/.config/missing.ini"));
    }
}

}  // namespace
