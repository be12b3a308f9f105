#include "tools/sestool/Commands.h"

#include <cstdio>

namespace sestool {

namespace {

// A new command is one row here plus its unit.
constexpr SCommand kCommands[] = {
    {"request", "send one JSON request to the module and print its answer", RunRequest, kRequestHelp},
    {"help", "show this overview or the help of one command", RunHelp, kHelpHelp},
};

constexpr const char* kUsageHead =
    "Usage: sestool COMMAND [OPTIONS] [ARGS]\n"
    "\n"
    "Drives libmod_ses.so.1 through its C interface, as a host service does.\n"
    "\n"
    "Commands:\n";

constexpr const char* kUsageTail =
    "\n"
    "Run \"sestool COMMAND --help\" (or \"sestool help COMMAND\") for a command's options.\n"
    "\n"
    "Exit status: 0 success (\"errorCode\" 0), 1 the module answered an error code,\n"
    "2 usage or I/O error.\n";

const SCommand* FindCommand(const std::string& name) {
    for (const auto& command : kCommands) {
        if (name == command.name) {
            return &command;
        }
    }
    return nullptr;
}

void PrintOverview(FILE* to) {
    std::fputs(kUsageHead, to);
    for (const auto& command : kCommands) {
        std::fprintf(to, "  %-10s %s\n", command.name, command.summary);
    }
    std::fputs(kUsageTail, to);
}

bool AsksForHelp(const std::vector<std::string>& args) {
    for (const auto& arg : args) {
        if (arg == "--") {
            return false;
        }
        if (arg == "--help" || arg == "-h") {
            return true;
        }
    }
    return false;
}

}  // namespace

const char kHelpHelp[] =
    "Usage: sestool help [COMMAND]\n"
    "\n"
    "Without COMMAND lists the commands; with it shows that command's help.\n";

int RunHelp(const std::vector<std::string>& args) {
    if (args.empty()) {
        PrintOverview(stdout);
        return kExitOk;
    }
    if (args.size() > 1) {
        std::fputs("sestool help: give at most one command name\n", stderr);
        return kExitUsage;
    }
    const SCommand* command = FindCommand(args[0]);
    if (command == nullptr) {
        std::fprintf(stderr, "sestool help: unknown command '%s'\n", args[0].c_str());
        return kExitUsage;
    }
    std::fputs(command->help, stdout);
    return kExitOk;
}

int RunSestool(int argc, char** argv) {
    if (argc < 2) {
        PrintOverview(stderr);
        return kExitUsage;
    }
    const std::string name = argv[1];
    if (name == "--help" || name == "-h") {
        PrintOverview(stdout);
        return kExitOk;
    }
    const SCommand* command = FindCommand(name);
    if (command == nullptr) {
        std::fprintf(stderr, "sestool: unknown command '%s'; run \"sestool --help\" for the list\n",
                     name.c_str());
        return kExitUsage;
    }
    const std::vector<std::string> args(argv + 2, argv + argc);
    if (AsksForHelp(args)) {
        std::fputs(command->help, stdout);
        return kExitOk;
    }
    return command->handler(args);
}

}  // namespace sestool
