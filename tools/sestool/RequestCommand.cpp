#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "base/Json.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"
#include "tools/sestool/ModuleHost.h"
#include "tools/sestool/Options.h"

namespace sestool {

const char kRequestHelp[] =
    "Usage: sestool request [OPTIONS] REQUEST.json|-\n"
    "\n"
    "Sends one JSON request to the module with CM_ProcessClientRequest and prints the response JSON\n"
    "on standard output. REQUEST.json is a file; \"-\" reads the request from standard input.\n"
    "\n"
    "Options:\n"
    "  --remote        mark the request as coming from another machine (isLocal false): the\n"
    "                  private-key methods then answer 50 unless the configuration allows them\n"
    "  --service       initialise the module in service mode (no desktop message boxes)\n"
    "  --module PATH   load PATH, not the module sestool finds (sestool --version)\n"
    "  --data FILE     send FILE's bytes after the JSON and its NUL; \"fileDataSize\" in the\n"
    "                  request is set to their count (the request must be a JSON object)\n"
    "  --out FILE      write the raw file data that follows the response JSON to FILE (replaced\n"
    "                  in one step once complete); \"-\" writes it to standard output and the\n"
    "                  response JSON to standard error instead\n"
    "  -v, --verbose   print the module's log lines on standard error, as \"[log] text\" or\n"
    "                  \"[error] text\"\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status:\n"
    "  0  the response's \"errorCode\" is 0\n"
    "  1  the module answered with another \"errorCode\"\n"
    "  2  usage error, unreadable or unwritable file, invalid JSON with --data, or the module\n"
    "     could not be loaded or initialised\n"
    "\n"
    "Examples:\n"
    "  echo '{\"mode\":37,\"clientId\":\"me\"}' | sestool request -\n"
    "  sestool request --data report.pdf --out report.pdf.ses sign.json\n";

namespace {

constexpr const char* kPrefix = "sestool request: ";

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

// CFileDataSizeFilter copies a request object event by event, drops every top-level "fileDataSize"
// and appends one with the real byte count. Numbers pass through as their original text, so the
// request reaches the module as it was written apart from that member.
class CFileDataSizeFilter {
public:
    CFileDataSizeFilter(JsonWriter& writer, uint64_t dataSize) : _writer(writer), _dataSize(dataSize) {}

    bool notAnObject = false;

    bool Null() {
        return Value([this] { return _writer.Null(); });
    }
    bool Bool(bool b) {
        return Value([this, b] { return _writer.Bool(b); });
    }
    bool Int(int i) {
        return Value([this, i] { return _writer.Int(i); });
    }
    bool Uint(unsigned u) {
        return Value([this, u] { return _writer.Uint(u); });
    }
    bool Int64(int64_t i) {
        return Value([this, i] { return _writer.Int64(i); });
    }
    bool Uint64(uint64_t u) {
        return Value([this, u] { return _writer.Uint64(u); });
    }
    bool Double(double d) {
        return Value([this, d] { return _writer.Double(d); });
    }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool /*copy*/) {
        // Writer::RawNumber of RapidJSON 1.1.0 quotes the digits; RawValue keeps them a number.
        return Value([&] { return _writer.RawValue(text, length, rapidjson::kNumberType); });
    }
    bool String(const char* text, rapidjson::SizeType length, bool copy) {
        return Value([&] { return _writer.String(text, length, copy); });
    }
    bool Key(const char* text, rapidjson::SizeType length, bool copy) {
        if (_skipNesting > 0) {
            return true;
        }
        if (_depth == 1 && std::string(text, length) == "fileDataSize") {
            _skipValue = true;
            return true;
        }
        return _writer.Key(text, length, copy);
    }
    bool StartObject() {
        if (_depth == 0) {  // the root
            ++_depth;
            return _writer.StartObject();
        }
        return Open([this] { return _writer.StartObject(); });
    }
    bool EndObject(rapidjson::SizeType count) {
        return Close([this, count] {
            if (_depth == 0) {
                return _writer.Key("fileDataSize") && _writer.Uint64(_dataSize) && _writer.EndObject(count);
            }
            return _writer.EndObject(count);
        });
    }
    bool StartArray() {
        return Open([this] { return _writer.StartArray(); });
    }
    bool EndArray(rapidjson::SizeType count) {
        return Close([this, count] { return _writer.EndArray(count); });
    }

private:
    // Value writes a scalar, swallows it when it belongs to a dropped member, and fails the parse
    // when the document itself is a scalar.
    template <typename Write>
    bool Value(Write write) {
        if (_depth == 0) {
            notAnObject = true;
            return false;
        }
        if (_skipNesting > 0) {
            return true;
        }
        if (_skipValue) {
            _skipValue = false;
            return true;
        }
        return write();
    }
    template <typename Write>
    bool Open(Write write) {
        if (_depth == 0) {
            notAnObject = true;
            return false;
        }
        if (_skipNesting > 0 || _skipValue) {
            _skipValue = false;
            ++_skipNesting;
            return true;
        }
        ++_depth;
        return write();
    }
    template <typename Write>
    bool Close(Write write) {
        if (_skipNesting > 0) {
            --_skipNesting;
            return true;
        }
        --_depth;
        return write();
    }

    JsonWriter& _writer;
    uint64_t _dataSize;
    int _depth = 0;
    int _skipNesting = 0;
    bool _skipValue = false;
};

// SetFileDataSize rewrites json compactly with "fileDataSize" set to dataSize. Iterative parsing keeps
// deep nesting off the stack, and numbers stay text, which also keeps RapidJSON 1.1.0's exponent
// arithmetic out of reach (it overflows on very long fractions with huge negative exponents).
bool SetFileDataSize(const std::string& json, uint64_t dataSize, std::string& out) {
    if (json.find('\0') != std::string::npos) {
        std::fprintf(stderr, "%sthe request JSON contains a NUL byte\n", kPrefix);
        return false;
    }
    rapidjson::StringBuffer buffer;
    JsonWriter writer(buffer);
    CFileDataSizeFilter filter(writer, dataSize);
    rapidjson::Reader reader;
    rapidjson::StringStream stream(json.c_str());
    constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag |
                                rapidjson::kParseValidateEncodingFlag;
    const rapidjson::ParseResult result = reader.Parse<kFlags>(stream, filter);
    if (filter.notAnObject) {
        std::fprintf(stderr, "%sthe request must be a JSON object to carry --data\n", kPrefix);
        return false;
    }
    if (result.IsError()) {
        std::fprintf(stderr, "%sinvalid request JSON at offset %zu: %s\n", kPrefix, result.Offset(),
                     JsonParseErrorText(result.Code()));
        return false;
    }
    out.assign(buffer.GetString(), buffer.GetSize());
    return true;
}

// AnswerCode reads "errorCode" from the response; false when the response has none.
bool AnswerCode(const std::string& json, uint64_t& code) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(json.c_str(), json.size());
    if (document.HasParseError() || !document.IsObject()) {
        return false;
    }
    const auto it = document.FindMember("errorCode");
    if (it == document.MemberEnd() || !it->value.IsUint64()) {
        return false;
    }
    code = it->value.GetUint64();
    return true;
}

const std::vector<SOptionSpec> kRequestOptions = {
    {"--remote", nullptr, false}, {"--service", nullptr, false}, {"--module", nullptr, true},
    {"--data", nullptr, true},    {"--out", nullptr, true},      {"--verbose", "-v", false},
};

}  // namespace

int RunRequest(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    std::string error;
    if (!ParseOptions(args, kRequestOptions, parsed, error)) {
        std::fprintf(stderr, "%s%s\n", kPrefix, error.c_str());
        return kExitUsage;
    }
    if (parsed.positional.size() != 1) {
        std::fprintf(stderr, "%sexpected one REQUEST.json or -; see \"sestool request --help\"\n", kPrefix);
        return kExitUsage;
    }
    const std::string& requestPath = parsed.positional[0];
    if (parsed.Has("--data") && parsed.Value("--data") == "-" && requestPath == "-") {
        std::fprintf(stderr, "%sthe request and --data cannot both come from standard input\n", kPrefix);
        return kExitUsage;
    }
    SetVerboseLog(parsed.Has("--verbose"));

    std::vector<uint8_t> jsonBytes;
    std::vector<uint8_t> data;
    if (!ReadInputFile(requestPath, jsonBytes, error) ||
        (parsed.Has("--data") && !ReadInputFile(parsed.Value("--data"), data, error))) {
        std::fprintf(stderr, "%s%s\n", kPrefix, error.c_str());
        return kExitUsage;
    }
    std::string json(jsonBytes.begin(), jsonBytes.end());
    if (parsed.Has("--data")) {
        std::string rewritten;
        if (!SetFileDataSize(json, data.size(), rewritten)) {
            return kExitUsage;
        }
        json.swap(rewritten);
    }
    // Always JSON + NUL, then the data when there is any; the module accepts the NUL being counted.
    std::vector<char> request(json.begin(), json.end());
    request.push_back('\0');
    request.insert(request.end(), data.begin(), data.end());
    if (request.size() > UINT32_MAX) {
        std::fprintf(stderr, "%sthe request is larger than 4 GiB\n", kPrefix);
        return kExitUsage;
    }

    const std::string modulePath =
        parsed.Has("--module") ? parsed.Value("--module") : CModuleHost::DefaultModulePath();
    CModuleHost host;
    if (!host.Load(modulePath, error) || !host.Init(parsed.Has("--service"), PrintModuleLogLine, error)) {
        std::fprintf(stderr, "%s%s\n", kPrefix, error.c_str());
        return kExitUsage;
    }
    SModuleAnswer answer;
    if (!host.Process(request, !parsed.Has("--remote"), answer, error)) {
        std::fprintf(stderr, "%s%s\n", kPrefix, error.c_str());
        return kExitUsage;
    }
    // With the data on standard output ("--out -") the JSON goes to standard error, so neither
    // corrupts the other.
    FILE* jsonTo = parsed.Has("--out") && parsed.Value("--out") == "-" ? stderr : stdout;
    std::fwrite(answer.json.data(), 1, answer.json.size(), jsonTo);
    std::fputc('\n', jsonTo);
    std::fflush(jsonTo);

    if (answer.hasData) {
        if (parsed.Has("--out")) {
            if (!WriteOutputFile(parsed.Value("--out"), answer.data.data(), answer.data.size(), 0666, true,
                                 error)) {
                std::fprintf(stderr, "%s%s\n", kPrefix, error.c_str());
                return kExitUsage;
            }
        } else {
            std::fprintf(stderr, "%s%zu bytes of file data not saved; use --out FILE\n", kPrefix,
                         answer.data.size());
        }
    } else if (parsed.Has("--out")) {
        std::fprintf(stderr, "%sthe response carries no file data; %s not written\n", kPrefix,
                     parsed.Value("--out").c_str());
    }

    uint64_t code = 0;
    if (!AnswerCode(answer.json, code)) {
        std::fprintf(stderr, "%sthe response carries no \"errorCode\"\n", kPrefix);
        return kExitFailed;
    }
    return code == 0 ? kExitOk : kExitFailed;
}

}  // namespace sestool
