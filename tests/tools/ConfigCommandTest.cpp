// Runs "sestool config" as a child process with HOME in a fresh folder.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>

#include "config/ConfigFileParser.h"
#include "base/FileUtil.h"
#include "base/Lng.h"
#include "tests/support/TestSupport.h"
#include "tests/support/ToolRun.h"

namespace {

// RunConfig runs "sestool config ARGS" (blank-separated) with HOME in the CTempHome.
SToolRun RunConfig(const CTempHome& home, const std::string& args) {
    std::vector<std::string> words{"config"};
    std::istringstream split(args);
    for (std::string word; split >> word;) {
        words.push_back(word);
    }
    return RunSestool(home.Path(), words, {}, home.Path());
}

std::string ConfigPath(const CTempHome& home) {
    return home.Path() + "/.config/OruCryptoSvc/OruCryptoSvcConfig.ini";
}

// Compact re-serialises printed JSON, so that it compares with ToJson.
std::string Compact(const std::string& printed) {
    rapidjson::Document document;
    ca::ParseJson(document, printed.data(), printed.size());
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    document.Accept(writer);
    return buffer.GetString();
}

// ModuleView is what the module's own reader makes of the file under the current HOME.
std::string ModuleView() {
    ca::ConfigFileParser config;
    std::wstring ignored;
    config.ReadConfig(ignored, true);
    SetVALKOLng(L"en");
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    config.ToJson(writer);
    return buffer.GetString();
}

TEST(SestoolConfig, ShowPrintsWhatTheModuleReads) {
    const struct {
        const char* label;
        const char* file;  // null: no file
        const char* warning;
    } cases[] = {
        {"no file", nullptr, "OruCryptoSvcConfig.ini: Failed to open(create) configuration file; the values"},
        {"bad number", "[Service settings]\nLogMode=3\nHttpPort=abc\n",
         "OruCryptoSvcConfig.ini: stoi; the values"},
        {"good file", "[Service settings]\nLogMode=2\n[Custom CDP list]\n1=http://cdp\n", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        CTempHome home;
        if (c.file != nullptr) {
            ASSERT_TRUE(ca::TryCreateDir(home.Path() + "/.config/OruCryptoSvc"));
            ASSERT_TRUE(ca::StringToFile(ConfigPath(home), c.file));
        }
        const SToolRun run = RunConfig(home, "show");
        EXPECT_EQ(run.exitCode, 0) << run.err;
        if (c.warning == nullptr) {
            EXPECT_EQ(run.err, "");
        } else {
            EXPECT_NE(run.err.find(c.warning), std::string::npos) << run.err;
        }
        EXPECT_EQ(Compact(run.out), ModuleView());
    }
}

TEST(SestoolConfig, InitWritesDefaultsAndRefusesToOverwrite) {
    CTempHome home;
    const SToolRun first = RunConfig(home, "init");
    EXPECT_EQ(first.exitCode, 0) << first.err;
    EXPECT_EQ(first.out, ConfigPath(home) + "\n");
    std::string written;
    ASSERT_TRUE(ca::FileToString(ConfigPath(home), written));
    EXPECT_EQ(written.rfind("# SHA-1 of the lines below: ", 0), 0u);
    EXPECT_EQ(ModuleView(), [] {
        rapidjson::StringBuffer buffer;
        ca::JsonWriter writer(buffer);
        ca::ConfigFileParser().ToJson(writer);
        return std::string(buffer.GetString());
    }());

    ASSERT_TRUE(ca::StringToFile(ConfigPath(home), "[Service settings]\nLogMode=1\n"));
    const SToolRun again = RunConfig(home, "init");
    EXPECT_EQ(again.exitCode, 2);
    EXPECT_NE(again.err.find("--force"), std::string::npos) << again.err;
    std::string kept;
    ASSERT_TRUE(ca::FileToString(ConfigPath(home), kept));
    EXPECT_EQ(kept, "[Service settings]\nLogMode=1\n");

    EXPECT_EQ(RunConfig(home, "init --force").exitCode, 0);
    ASSERT_TRUE(ca::FileToString(ConfigPath(home), kept));
    EXPECT_EQ(kept, written);
}

// init never opens what is not a regular file (a FIFO would block it) and never writes through a
// link that leads nowhere.
TEST(SestoolConfig, InitRefusesSpecialTargets) {
    struct SCase {
        const char* label;
        const char* args;
        int (*make)(const char* path);
        const char* says;
    };
    const SCase cases[] = {
        {"FIFO", "init --force", [](const char* path) { return mkfifo(path, 0600); }, "is a FIFO"},
        {"dangling link", "init --force", [](const char* path) { return symlink("../missing.ini", path); },
         "leads to no file"},
        {"dangling link without --force", "init",
         [](const char* path) { return symlink("../missing.ini", path); }, "exists; add --force"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        CTempHome home;
        ASSERT_TRUE(ca::TryCreateDir(home.Path() + "/.config/OruCryptoSvc"));
        ASSERT_EQ(c.make(ConfigPath(home).c_str()), 0);
        const SToolRun run = RunConfig(home, c.args);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
        EXPECT_FALSE(ca::IsRegularFile(ConfigPath(home)));
        EXPECT_FALSE(ca::IsRegularFile(home.Path() + "/.config/missing.ini"));
    }
}

TEST(SestoolConfig, UsageErrors) {
    CTempHome home;
    for (const char* args : {"", "bogus", "show --force", "show extra", "init --bogus"}) {
        SCOPED_TRACE(args);
        EXPECT_EQ(RunConfig(home, args).exitCode, 2);
    }
    const SToolRun help = RunConfig(home, "--help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("Usage: sestool config show"), std::string::npos);
}

}  // namespace
