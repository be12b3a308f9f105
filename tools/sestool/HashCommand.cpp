#include <cstdio>
#include <string>
#include <vector>

#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kHashHelp[] =
    "Usage: sestool hash [--chunk-size N] FILE\n"
    "\n"
    "Prints the CRC-64 of FILE as the module computes it for signatures (CreateHash, mode 50): an\n"
    "unsigned decimal number. FILE \"-\" reads standard input. A FILE larger than 32 MiB is sent in\n"
    "chunks of 8 MiB through the hashing stream (StreamHash, mode 63), which keeps only a running\n"
    "CRC: any size can be hashed, with the same result. A progress line is drawn on standard error\n"
    "when it is a terminal.\n"
    "\n"
    "Options:\n"
    "  --chunk-size N  send chunks of N bytes (suffix K, M or G; 1 to 1G), and stream FILE\n"
    "                  whenever it is larger than one chunk\n"
    "  --module PATH   load PATH, not the module sestool finds (sestool --version)\n"
    "  -v, --verbose   print the module's log lines on standard error (and no progress line)\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status: 0 printed; 1 the module answered an error; 2 usage error, FILE unreadable, or the\n"
    "module could not be loaded.\n"
    "\n"
    "Example:\n"
    "  printf 123456789 | sestool hash -     # 7800480153909949255\n";

namespace {

constexpr const char* kCommand = "hash";

}  // namespace

int RunHash(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, WithModuleOptions(WithChunkSizeOption({})), {1, 1, "one FILE"},
                          parsed)) {
        return kExitUsage;
    }
    CModuleSession session(kCommand);
    if (!session.ReadChunkSize(parsed)) {
        return kExitUsage;
    }
    CInputFile input;
    std::string error;
    if (!input.Open(parsed.positional[0], error)) {
        PrintError(kCommand, error);
        return kExitUsage;
    }
    if (!session.Open(parsed)) {
        return kExitUsage;
    }
    CRequestJson request(ca::kModeCreateHash);
    SModuleReply reply;
    if (!session.CallWithData(request, input, reply)) {
        return kExitUsage;
    }
    if (reply.errorCode != 0) {
        PrintModuleError(reply);
        return kExitFailed;
    }
    if (!reply.hasData || reply.data.empty()) {
        PrintError(kCommand, "the module answered without a hash value");
        return kExitUsage;
    }
    std::fwrite(reply.data.data(), 1, reply.data.size(), stdout);
    std::fputc('\n', stdout);
    return kExitOk;
}

}  // namespace sestool
