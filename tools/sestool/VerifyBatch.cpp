// "sestool verify" over many files: the pairs of the command line and of "--batch LIST", one line each.
#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"
#include "tools/sestool/VerifyCheck.h"

namespace sestool {

namespace {

constexpr const char* kCommand = "verify";

// kMaxBatchList bounds the bytes of a LIST (about 100,000 pairs of ordinary names).
constexpr uint64_t kMaxBatchList = uint64_t{16} << 20;

// SPair is one FILE SIGNATURE pair and where it came from, for messages.
struct SPair {
    std::string file;
    std::string signature;
    std::string origin;  // "" for the command line, else "LIST:LINE"
};

// NextField reads one blank-separated field of a LIST line at at: a bare word, or a double-quoted
// text with \" and \\ inside. False when no field starts there or a quote is not closed.
bool NextField(const std::string& line, size_t& at, std::string& field) {
    at = line.find_first_not_of(" \t", at);
    if (at == std::string::npos) {
        return false;
    }
    field.clear();
    if (line[at] != '"') {
        const size_t end = line.find_first_of(" \t", at);
        field = line.substr(at, end == std::string::npos ? std::string::npos : end - at);
        at = end == std::string::npos ? line.size() : end;
        return true;
    }
    for (++at; at < line.size(); ++at) {
        if (line[at] == '"') {
            ++at;
            return at == line.size() || line[at] == ' ' || line[at] == '\t';
        }
        if (line[at] == '\\' && at + 1 < line.size() && (line[at + 1] == '"' || line[at + 1] == '\\')) {
            ++at;
        }
        field += line[at];
    }
    return false;
}

// ReadList adds the pairs of LIST; a line that is no pair becomes a pair with an empty file and
// the problem in signature. False (printed) when LIST cannot be read.
bool ReadList(const std::string& path, std::vector<SPair>& pairs) {
    CInputFile input;
    std::vector<uint8_t> bytes;
    std::string error;
    bool atEnd = false;
    if (!input.Open(path, error) || !input.Read(kMaxBatchList, bytes, error) || !input.AtEnd(atEnd, error)) {
        PrintError(kCommand, error);
        return false;
    }
    if (!atEnd) {
        PrintError(kCommand, input.Name() + " holds more than " + std::to_string(kMaxBatchList) +
                                 " bytes; split the list");
        return false;
    }
    const std::string text(bytes.begin(), bytes.end());
    size_t number = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        std::string line = text.substr(start, end - start);
        start = end + 1;
        ++number;
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const size_t first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#') {
            continue;
        }
        SPair pair;
        pair.origin = (path == "-" ? std::string("standard input") : path) + ":" + std::to_string(number);
        size_t at = 0;
        std::string rest;
        if (!NextField(line, at, pair.file) || !NextField(line, at, pair.signature) ||
            NextField(line, at, rest) || pair.file.empty() || pair.signature.empty()) {
            pair.file.clear();
            pair.signature = "expected FILE SIGNATURE";
        }
        pairs.push_back(std::move(pair));
    }
    return true;
}

}  // namespace

int RunVerifyBatch(const SParsedArgs& parsed) {
    if (parsed.Has("--json")) {
        PrintError(kCommand, "--json takes one FILE SIGNATURE pair; see \"sestool verify --help\"");
        return kExitUsage;
    }
    if (parsed.positional.size() % 2 != 0) {
        PrintError(kCommand, "expected FILE SIGNATURE pairs, but the last FILE has no SIGNATURE");
        return kExitUsage;
    }
    std::vector<SPair> pairs;
    for (size_t i = 0; i < parsed.positional.size(); i += 2) {
        pairs.push_back({parsed.positional[i], parsed.positional[i + 1], std::string()});
    }
    if (parsed.Has("--batch") && !ReadList(parsed.Value("--batch"), pairs)) {
        return kExitUsage;
    }
    CVerifier verifier(parsed);
    if (!verifier.Prepare()) {
        return kExitUsage;
    }
    bool anyInvalid = false;
    bool anyUnchecked = false;
    CVerifyProblems problems(false);
    for (const SPair& pair : pairs) {
        EVerdict verdict = EVerdict::kUnchecked;
        SModuleReply reply;
        if (pair.file.empty()) {
            problems.Tool(pair.signature);
        } else if (pair.file == "-") {
            problems.Tool("FILE \"-\" (standard input) is not taken in a batch");
        } else {
            verdict = verifier.Check(pair.file, pair.signature, problems, reply);
            if (verifier.ModuleFailed()) {
                return kExitUsage;
            }
        }
        const std::string name = Printable(pair.file.empty() ? pair.origin : pair.file);
        if (verdict == EVerdict::kValid || verdict == EVerdict::kInvalid) {
            std::printf("%s %s\n", verdict == EVerdict::kValid ? "VALID" : "INVALID", name.c_str());
            anyInvalid = anyInvalid || verdict == EVerdict::kInvalid;
        } else {
            if (verdict == EVerdict::kNotChecked) {
                problems.Tool(NotCheckedReason(*FirstSignInfo(reply)));
            }
            const std::string where =
                pair.origin.empty() || pair.file.empty() ? "" : " (" + pair.origin + ")";
            std::printf("ERROR %s%s: %s\n", name.c_str(), Printable(where).c_str(),
                        Printable(problems.Take()).c_str());
            anyUnchecked = true;
        }
        std::fflush(stdout);
    }
    return anyUnchecked ? kExitUsage : anyInvalid ? kExitFailed : kExitOk;
}

}  // namespace sestool
