#include "tools/sestool/Commands.h"

#include <csignal>
#include <cstdio>
#include <new>

#include "base/Exception.h"

namespace sestool {

namespace {

// A new command is one row here plus its unit.
constexpr SCommand kCommands[] = {
    {"cert", "cert new: create a signer certificate in the certificate folder", RunCert, kCertHelp},
    {"certs", "list the certificates the module loaded", RunCerts, kCertsHelp},
    {"stores", "list the module's certificate stores and the current store", RunStores, kStoresHelp},
    {"sign", "sign a file; writes a signature container (FILE.sig.xml)", RunSign, kSignHelp},
    {"verify", "check files against their detached signatures: VALID or INVALID", RunVerify, kVerifyHelp},
    {"hash", "print a file's CRC-64 as the module computes it", RunHash, kHashHelp},
    {"request", "send one JSON request to the module and print its answer", RunRequest, kRequestHelp},
    {"session", "answer JSON requests read line by line from one module instance", RunSession, kSessionHelp},
    {"asn1", "print the ASN.1 structure of a DER or PEM file as JSON (no module call)", RunAsn1, kAsn1Help},
    {"x509", "show what a certificate holds, as text or as the module's record (no module call)", RunX509,
     kX509Help},
    {"crl", "show what a certificate revocation list holds (no module call)", RunCrl, kCrlHelp},
    {"cms", "show the signers of a CMS / PKCS #7 signature (no module call)", RunCms, kCmsHelp},
    {"config", "show the service configuration as the module reads it, or write a default one", RunConfig,
     kConfigHelp},
    {"help", "show this overview or the help of one command", RunHelp, kHelpHelp},
};
// Not listed among the commands, but parsed and helped like one.
constexpr SCommand kVersion = {"--version", "", RunVersion, kVersionHelp};

constexpr const char* kUsageHead =
    "Usage: sestool COMMAND [OPTIONS] [ARGS]\n"
    "\n"
    "Drives libmod_ses.so.1 through its C interface, as a host service does.\n"
    "\n"
    "Commands:\n";

constexpr const char* kUsageTail =
    "\n"
    "Run \"sestool COMMAND --help\" (or \"sestool help COMMAND\") for a command's options,\n"
    "\"sestool --version\" for the versions and the module sestool loads.\n"
    "\n"
    "Exit status: 0 success (\"errorCode\" 0; verify: the signature is valid), 1 the module\n"
    "answered an error code (verify: the signature is invalid), 2 usage or I/O error, or the\n"
    "module could not be loaded (verify: also any module error).\n";

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
    // A file-size limit ("ulimit -f") then fails the write with EFBIG instead of killing sestool,
    // so the writer can still remove its temporary file.
    std::signal(SIGXFSZ, SIG_IGN);
    if (argc < 2) {
        PrintOverview(stderr);
        return kExitUsage;
    }
    const std::string name = argv[1];
    if (name == "--help" || name == "-h") {
        PrintOverview(stdout);
        return kExitOk;
    }
    const SCommand* command = name == kVersion.name ? &kVersion : FindCommand(name);
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
    try {
        return command->handler(args);
    } catch (const std::bad_alloc&) {
        std::fputs("sestool: out of memory\n", stderr);
    } catch (const ca::Exception& e) {
        std::fprintf(stderr, "sestool: internal error (code %u)\n", static_cast<unsigned>(e.code));
    }
    return kExitUsage;
}

}  // namespace sestool
