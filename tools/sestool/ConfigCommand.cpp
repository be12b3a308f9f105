#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <vector>

#include "base/Encode.h"
#include "base/FileUtil.h"
#include "config/ConfigFileParser.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kConfigHelp[] =
    "Usage: sestool config show\n"
    "       sestool config init [--force]\n"
    "\n"
    "The service configuration $HOME/.config/OruCryptoSvc/OruCryptoSvcConfig.ini, which the module\n"
    "reads once when it starts.\n"
    "\n"
    "  show     reads the file exactly as the module does and prints the values the module would\n"
    "           use, as the JSON \"config\" record: every key of the \"Service settings\" section\n"
    "           under its own name, then the lists \"Dll extensions\", \"Custom CDP list\" and\n"
    "           \"Custom error handlers\". What the module would warn about (a missing file, a value\n"
    "           that is no number, extension files that do not exist) goes to standard error; the\n"
    "           module starts on the values shown all the same.\n"
    "  init     writes a file with every default value (folders created, the file readable by its\n"
    "           owner only). Its first line is a comment with the SHA-1 of the rest of the file.\n"
    "           The new file takes the old one's place in one step: a reader sees one or the other,\n"
    "           never a part. What is not a regular file (a FIFO, a device) is never replaced.\n"
    "\n"
    "Options:\n"
    "  --force              init: replace an existing file (without it sestool refuses)\n"
    "  -h, --help           show this help\n"
    "\n"
    "Exit status: 0 printed or written; 2 usage error, or init found the file present (without\n"
    "--force) or could not write it.\n";

namespace {

constexpr const char* kCommand = "config";

int Show() {
    ca::ConfigFileParser config;
    std::wstring problem;
    const bool read = config.ReadConfig(problem, true);
    if (!problem.empty()) {
        PrintError(kCommand, ca::u16u8(ca::ConfigFileParser::GetConfigPath()) + ": " + ca::u16u8(problem) +
                                 (read ? "" : "; the values not read keep their defaults"));
    }
    rapidjson::StringBuffer buffer;
    ca::JsonPrettyWriter writer(buffer);
    writer.SetIndent(' ', 2);
    config.ToPrettyJson(writer);
    std::fwrite(buffer.GetString(), 1, buffer.GetSize(), stdout);
    std::fputc('\n', stdout);
    return kExitOk;
}

int Init(bool force) {
    const std::string path = ca::u16u8(ca::ConfigFileParser::GetConfigPath());
    struct stat info {};
    if (!force && lstat(path.c_str(), &info) == 0) {
        PrintError(kCommand, path + " exists; add --force to replace it with the defaults");
        return kExitUsage;
    }
    std::wstring problem;
    if (!ca::ConfigFileParser().WriteConfigFile(problem, force)) {
        PrintError(kCommand, path + ": " + ca::u16u8(problem));
        return kExitUsage;
    }
    std::printf("%s\n", path.c_str());
    return kExitOk;
}

}  // namespace

int RunConfig(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, {{"--force", nullptr, false}}, {1, 1, "\"show\" or \"init\""},
                          parsed)) {
        return kExitUsage;
    }
    const std::string& action = parsed.positional[0];
    if (action == "show" && !parsed.Has("--force")) {
        return Show();
    }
    if (action == "init") {
        return Init(parsed.Has("--force"));
    }
    PrintError(kCommand, action == "show" ? "--force belongs to \"init\""
                                          : "unknown action '" + action + "'; use \"show\" or \"init\"");
    return kExitUsage;
}

}  // namespace sestool
