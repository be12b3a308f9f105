// "sestool session": one module instance answers a stream of requests, one JSON line each.
#include <errno.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/Encode.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

// kMaxSessionLine bounds one input line (bytes, without its line end): a longer line is skipped
// without being held, and answered with a "sessionError" line.
constexpr size_t kMaxSessionLine = size_t{64} << 20;

const char kSessionHelp[] =
    "Usage: sestool session [--remote] [--module PATH] [-v]\n"
    "\n"
    "Starts one module and answers the requests read from standard input, one JSON request per\n"
    "line, with one line per request on standard output, in order and flushed at once. Client\n"
    "contexts (\"clientId\", SetCurStore), open streams and the certificates SetCert2 adds live\n"
    "from one request to the next, so they can be driven by hand or by a script. The requests and\n"
    "their answers are described in docs/PROTOCOL.md.\n"
    "\n"
    "Input lines:\n"
    "  {...}                            a request: its bytes are sent as they are, then a NUL\n"
    "  {\"request\":{...},\"data\":\"B64\"}  a request with raw bytes: the base64 \"data\" is decoded\n"
    "                                   and sent after the request's NUL, and the request's\n"
    "                                   \"fileDataSize\" is set to their count\n"
    "  Empty lines and lines starting with # are skipped. A line of more than 64 MiB is not\n"
    "  sent; it is answered with a sessionError line.\n"
    "\n"
    "Output lines:\n"
    "  the module's response JSON, as it wrote it\n"
    "  {\"response\":{...},\"data\":\"B64\"}  when raw bytes follow the response: the response JSON\n"
    "                                   and the bytes as base64\n"
    "  {\"sessionError\":\"TEXT\"}          for a line that was not sent, saying why\n"
    "\n"
    "Options:\n"
    "  --remote        mark every request as coming from another machine (isLocal false)\n"
    "  --module PATH   load PATH instead of <sestool's dir>/../lib/libmod_ses.so.1\n"
    "  -v, --verbose   print the module's log lines on standard error\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status: 0 every request was answered with \"errorCode\" 0; 1 some request was answered\n"
    "with another code; 2 a line was not sent, a usage or I/O error, or the module could not be\n"
    "loaded.\n"
    "\n"
    "Example (a store choice kept for client \"me\", then a CRC-64 of raw bytes):\n"
    "  $ sestool session <<'EOF'\n"
    "  {\"mode\":36,\"clientId\":\"me\",\"storeAddresses\":[{\"name\":\"VALKOTempStore\"}]}\n"
    "  {\"request\":{\"mode\":50,\"clientId\":\"me\"},\"data\":\"MTIzNDU2Nzg5\"}\n"
    "  EOF\n"
    "  {\"errorCode\":0,\"errorMessage\":\"DONE\"}\n"
    "  {\"response\":{\"errorCode\":0,\"errorMessage\":\"DONE\",\"fileDataSize\":19},\n"
    "   \"data\":\"NzgwMDQ4MDE1MzkwOTk0OTI1NQ==\"}\n";

namespace {

constexpr const char* kCommand = "session";

const std::vector<SOptionSpec> kSessionOptions = WithModuleOptions({{"--remote", nullptr, false}});

// CLineReader reads standard input line by line, holding at most kMaxSessionLine bytes of a line.
class CLineReader {
public:
    // Next gives the next line without its line end (and a CR before it); tooLong when the line
    // was longer than the bound (line is then empty). False at the end of the input or on an error.
    bool Next(std::string& line, bool& tooLong, std::string& error) {
        line.clear();
        tooLong = false;
        for (;;) {
            if (_at == _filled) {
                const ssize_t n = read(STDIN_FILENO, _buffer, sizeof(_buffer));
                if (n < 0 && errno == EINTR) {
                    continue;
                }
                if (n < 0) {
                    error = "cannot read standard input";
                    return false;
                }
                if (n == 0) {
                    return _Finish(line, tooLong, !line.empty() || tooLong);
                }
                _at = 0;
                _filled = static_cast<size_t>(n);
            }
            const char* start = _buffer + _at;
            const size_t left = _filled - _at;
            const auto* end = static_cast<const char*>(std::memchr(start, '\n', left));
            const size_t piece = end == nullptr ? left : static_cast<size_t>(end - start);
            if (!tooLong && line.size() + piece > kMaxSessionLine + 1) {  // + 1: a CR before the LF
                tooLong = true;
                line.clear();
                line.shrink_to_fit();
            }
            if (!tooLong) {
                line.append(start, piece);
            }
            _at += piece;
            if (end != nullptr) {
                ++_at;
                return _Finish(line, tooLong, true);
            }
        }
    }

private:
    static bool _Finish(std::string& line, bool& tooLong, bool any) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.size() > kMaxSessionLine) {
            tooLong = true;
            line.clear();
        }
        return any;
    }

    char _buffer[1 << 16];
    size_t _at = 0;
    size_t _filled = 0;
};

// IsBase64 tells whether text is standard base64: groups of four alphabet letters, "=" padding
// only at the end.
bool IsBase64(const char* text, size_t length) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    size_t padding = 0;
    while (padding < 2 && padding < length && text[length - 1 - padding] == '=') {
        ++padding;
    }
    for (size_t i = 0; i < length - padding; ++i) {
        if (text[i] == '\0' || std::strchr(kAlphabet, text[i]) == nullptr) {
            return false;
        }
    }
    return length % 4 == 0;
}

// SessionError is the output line of a line that was not sent.
std::string SessionError(const std::string& text) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    writer.StartObject();
    writer.Key("sessionError");
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    writer.EndObject();
    return buffer.GetString();
}

// BuildRequest turns an input line into the request buffer: the line itself and a NUL, or, for a
// {"request":...,"data":...} wrapper, the request with "fileDataSize" set, a NUL and the bytes.
// False with the reason in error.
bool BuildRequest(const std::string& line, std::vector<char>& request, std::string& error) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
    const ca::JsonValue* wrapped = document.HasParseError() ? nullptr : Member(&document, "request");
    if (wrapped == nullptr) {
        request.assign(line.begin(), line.end());
        request.push_back('\0');
        return true;
    }
    const ca::JsonValue* data = Member(&document, "data");
    if (!wrapped->IsObject() || data == nullptr || !data->IsString() || document.MemberCount() != 2) {
        error = "a wrapped request is {\"request\":{...},\"data\":\"BASE64\"} and nothing else";
        return false;
    }
    ca::MallocPtr bytes;
    uint32_t size = 0;
    if (!IsBase64(data->GetString(), data->GetStringLength())) {
        error = "\"data\" is no base64 text";
        return false;
    }
    if (data->GetStringLength() != 0) {
        ca::Base64Decode(data->GetString(), bytes, size);
    }
    ca::JsonValue& object = document["request"];
    object.RemoveMember("fileDataSize");
    object.AddMember("fileDataSize", size, document.GetAllocator());
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    object.Accept(writer);
    request.assign(buffer.GetString(), buffer.GetString() + buffer.GetSize());
    request.push_back('\0');
    request.insert(request.end(), bytes.get(), bytes.get() + size);
    return true;
}

// AnswerLine is the output line of a response: its JSON, wrapped with the raw bytes when any follow.
std::string AnswerLine(const SModuleAnswer& answer) {
    if (!answer.hasData) {
        return answer.json;
    }
    if (answer.data.size() > kMaxFileBytes) {
        return SessionError("the response carries 4 GiB or more of raw bytes");
    }
    return "{\"response\":" + answer.json + ",\"data\":\"" +
           ca::Base64Encode(answer.data.data(), static_cast<uint32_t>(answer.data.size())) + "\"}";
}

// ErrorCodeOf reads "errorCode" from a response; 1 when there is none (it counts as an error).
uint32_t ErrorCodeOf(const std::string& json) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
    const ca::JsonValue* code = document.HasParseError() ? nullptr : Member(&document, "errorCode");
    return code != nullptr && code->IsUint() ? code->GetUint() : 1;
}

void WriteLine(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

}  // namespace

int RunSession(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, kSessionOptions, {0, 0, "no arguments"}, parsed)) {
        return kExitUsage;
    }
    SetVerboseLog(parsed.Has("--verbose"));
    const std::string modulePath =
        parsed.Has("--module") ? parsed.Value("--module") : CModuleHost::DefaultModulePath();
    CModuleHost host;
    std::string error;
    if (!host.Load(modulePath, error) || !host.Init(true, PrintModuleLogLine, error)) {
        PrintError(kCommand, error);
        return kExitUsage;
    }
    CLineReader reader;
    std::string line;
    std::vector<char> request;
    bool tooLong = false;
    int status = kExitOk;
    for (size_t number = 1; reader.Next(line, tooLong, error); ++number) {
        const size_t first = line.find_first_not_of(" \t");
        if (!tooLong && (first == std::string::npos || line[first] == '#')) {
            continue;
        }
        std::string why = tooLong ? "longer than " + std::to_string(kMaxSessionLine) + " bytes" : "";
        if (why.empty() && !BuildRequest(line, request, why)) {
            request.clear();
        }
        SModuleAnswer answer;
        if (why.empty() && !host.Process(request, !parsed.Has("--remote"), answer, why)) {
            why.insert(0, "no answer: ");
        }
        if (!why.empty()) {
            std::string text = "line " + std::to_string(number);
            text.append(": ").append(why);
            PrintError(kCommand, text);
            WriteLine(SessionError(text));
            status = kExitUsage;
            continue;
        }
        WriteLine(AnswerLine(answer));
        if (status == kExitOk && ErrorCodeOf(answer.json) != 0) {
            status = kExitFailed;
        }
    }
    if (!error.empty()) {
        PrintError(kCommand, error);
        return kExitUsage;
    }
    return status;
}

}  // namespace sestool
