#include <cstdio>
#include <string>
#include <vector>

#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kHashHelp[] =
    "Usage: sestool hash FILE\n"
    "\n"
    "Prints the CRC-64 of FILE as the module computes it for signatures (CreateHash, mode 50): an\n"
    "unsigned decimal number. FILE \"-\" reads standard input.\n"
    "\n"
    "Options:\n"
    "  --module PATH   load PATH instead of <sestool's dir>/../lib/libmod_ses.so.1\n"
    "  -v, --verbose   print the module's log lines on standard error\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status: 0 printed; 1 the module answered an error; 2 usage error, FILE unreadable or too\n"
    "large (4 GiB and more), or the module could not be loaded.\n"
    "\n"
    "Example:\n"
    "  printf 123456789 | sestool hash -     # 7800480153909949255\n";

namespace {

constexpr const char* kCommand = "hash";

}  // namespace

int RunHash(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, WithModuleOptions({}), {1, 1, "one FILE"}, parsed)) {
        return kExitUsage;
    }
    std::vector<uint8_t> data;
    std::string error;
    if (!ReadInputFile(parsed.positional[0], data, error)) {
        PrintError(kCommand, error);
        return kExitUsage;
    }
    CModuleSession session(kCommand);
    if (!session.Open(parsed)) {
        return kExitUsage;
    }
    CRequestJson request(kModeCreateHash);
    SModuleReply reply;
    if (!session.CallWithData(request, data, reply)) {
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
