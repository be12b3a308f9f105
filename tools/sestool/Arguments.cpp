#include "tools/sestool/Arguments.h"

#include "tools/sestool/Output.h"

namespace sestool {

bool ParseCommandLine(const char* command, const std::vector<std::string>& args,
                      const std::vector<SOptionSpec>& accepted, const SPositional& positional,
                      SParsedArgs& parsed) {
    std::string error;
    if (!ParseOptions(args, accepted, parsed, error)) {
        PrintError(command, error + "; see \"sestool " + command + " --help\"");
        return false;
    }
    if (parsed.positional.size() < positional.min || parsed.positional.size() > positional.max) {
        PrintError(command,
                   std::string("expected ") + positional.names + "; see \"sestool " + command + " --help\"");
        return false;
    }
    return true;
}

std::vector<SOptionSpec> WithModuleOptions(std::vector<SOptionSpec> accepted) {
    accepted.push_back({"--module", nullptr, true});
    accepted.push_back({"--verbose", "-v", false});
    return accepted;
}

std::vector<SOptionSpec> WithChunkSizeOption(std::vector<SOptionSpec> accepted) {
    accepted.push_back({"--chunk-size", nullptr, true});
    return accepted;
}

bool ParseByteSize(const std::string& text, uint64_t& out) {
    size_t digits = 0;
    uint64_t value = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
        const auto digit = static_cast<uint64_t>(text[digits] - '0');
        if (value > (UINT64_MAX - digit) / 10) {
            return false;
        }
        value = value * 10 + digit;
    }
    if (digits == 0 || text.size() - digits > 1) {
        return false;
    }
    unsigned shift = 0;
    if (digits < text.size()) {
        switch (text[digits]) {
            case 'k':
            case 'K':
                shift = 10;
                break;
            case 'm':
            case 'M':
                shift = 20;
                break;
            case 'g':
            case 'G':
                shift = 30;
                break;
            default:
                return false;
        }
    }
    if (value > (UINT64_MAX >> shift)) {
        return false;
    }
    out = value << shift;
    return true;
}

}  // namespace sestool
