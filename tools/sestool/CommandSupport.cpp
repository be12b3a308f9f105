#include "tools/sestool/CommandSupport.h"

#include <fcntl.h>
#include <rapidjson/error/en.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ca/Encode.h"
#include "config/SpecialFolder.h"

namespace sestool {

namespace {

// The longest input whose base64 text still fits a JSON string's 32-bit length.
constexpr uint64_t kMaxBase64Input = (UINT32_MAX / 4) * 3;

bool gVerboseLog = false;

std::string SystemError(const char* what, const std::string& path) {
    return std::string(what) + " '" + path + "': " + std::strerror(errno);
}

std::string TooLarge(const std::string& name, uint64_t size) {
    return name + " is " + std::to_string(size) +
           " bytes: files of 4 GiB or more cannot be sent, a request's length is a 32-bit number";
}

// CFd closes a descriptor it opened; standard input stays open.
class CFd {
public:
    explicit CFd(int inFd) : fd(inFd) {}
    ~CFd() {
        if (fd > STDIN_FILENO) {
            close(fd);
        }
    }
    CFd(const CFd&) = delete;
    CFd& operator=(const CFd&) = delete;

    int fd;
};

}  // namespace

void PrintError(const char* command, const std::string& text) {
    std::fprintf(stderr, "sestool %s: %s\n", command, text.c_str());
}

bool ParseCommandLine(const char* command, const std::vector<std::string>& args,
                      const std::vector<SOptionSpec>& specs, const SPositional& positional,
                      SParsedArgs& parsed) {
    std::string error;
    if (!ParseOptions(args, specs, parsed, error)) {
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

std::vector<SOptionSpec> WithModuleOptions(std::vector<SOptionSpec> specs) {
    specs.push_back({"--module", nullptr, true});
    specs.push_back({"--verbose", "-v", false});
    return specs;
}

bool ReadInputFile(const std::string& path, std::vector<uint8_t>& out, std::string& error) {
    const bool fromStdin = path == "-";
    const std::string name = fromStdin ? std::string("standard input") : "'" + path + "'";
    const CFd file(fromStdin ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.fd < 0) {
        error = SystemError("cannot open", path);
        return false;
    }
    struct stat info {};
    if (fstat(file.fd, &info) == 0 && S_ISREG(info.st_mode)) {
        const auto size = static_cast<uint64_t>(info.st_size);
        if (size > kMaxFileBytes) {
            error = TooLarge(name, size);
            return false;
        }
        out.reserve(static_cast<size_t>(size));
    }
    uint8_t chunk[65536];
    for (;;) {
        const ssize_t n = read(file.fd, chunk, sizeof(chunk));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            error = SystemError("cannot read", fromStdin ? "-" : path);
            return false;
        }
        if (n == 0) {
            return true;
        }
        // A pipe or a growing file has no size to check up front.
        if (out.size() + static_cast<size_t>(n) > kMaxFileBytes) {
            error = TooLarge(name, out.size() + static_cast<size_t>(n));
            return false;
        }
        out.insert(out.end(), chunk, chunk + n);
    }
}

bool WriteOutputFile(const std::string& path, const void* bytes, size_t size, bool replace, unsigned mode,
                     std::string& error, bool* alreadyExists) {
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (replace ? O_TRUNC : O_EXCL);
    const CFd file(open(path.c_str(), flags, static_cast<mode_t>(mode)));
    if (file.fd < 0) {
        if (alreadyExists != nullptr) {
            *alreadyExists = errno == EEXIST;
        }
        error = SystemError("cannot create", path);
        return false;
    }
    const auto* next = static_cast<const uint8_t*>(bytes);
    size_t left = size;
    while (left > 0) {
        const ssize_t n = write(file.fd, next, left);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            error = SystemError("cannot write", path);
            unlink(path.c_str());
            return false;
        }
        next += n;
        left -= static_cast<size_t>(n);
    }
    if (fsync(file.fd) != 0 && errno != EINVAL) {
        error = SystemError("cannot write", path);
        unlink(path.c_str());
        return false;
    }
    return true;
}

bool MakeFolders(const std::string& path, unsigned mode, std::string& error) {
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (mkdir(part.c_str(), static_cast<mode_t>(mode)) != 0 && errno != EEXIST) {
            error = SystemError("cannot create folder", part);
            return false;
        }
        if (slash == std::string::npos) {
            break;
        }
    }
    struct stat info {};
    if (stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        error = "'" + path + "' is not a folder";
        return false;
    }
    return true;
}

std::string CertificateFolder() {
    return ca::GetSpecialFolder(ca::ConfigType::kUser) + "/VALKO/SesCertificates/";
}

bool PrintModuleLogLine(const wchar_t* text, bool isError) {
    if (gVerboseLog) {
        std::fprintf(stderr, "[%s] %s\n", isError ? "error" : "log", WideToUtf8(text).c_str());
    }
    return true;
}

void SetVerboseLog(bool verbose) { gVerboseLog = verbose; }

CRequestJson::CRequestJson(uint32_t mode) : _writer(_buffer) {
    _writer.StartObject();
    _writer.Key("mode");
    _writer.Uint(mode);
    Text("clientId", "sestool");
}

void CRequestJson::Text(const char* key, const std::string& utf8) {
    _writer.Key(key);
    _writer.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

void CRequestJson::Flag(const char* key, bool value) {
    _writer.Key(key);
    _writer.Bool(value);
}

bool CRequestJson::Bytes(const char* key, const std::vector<uint8_t>& bytes) {
    if (bytes.size() > kMaxBase64Input) {
        return false;
    }
    _writer.Key(key);
    ca::WriteBase64(_writer, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return true;
}

std::string CRequestJson::Finish(const uint64_t* fileDataSize) {
    if (fileDataSize != nullptr) {
        _writer.Key("fileDataSize");
        _writer.Uint64(*fileDataSize);
    }
    _writer.EndObject();
    return std::string(_buffer.GetString(), _buffer.GetSize());
}

bool CModuleSession::Open(const SParsedArgs& parsed) {
    SetVerboseLog(parsed.Has("--verbose"));
    const std::string path =
        parsed.Has("--module") ? parsed.Value("--module") : CModuleHost::DefaultModulePath();
    std::string error;
    if (!_host.Load(path, error) || !_host.Init(true, PrintModuleLogLine, error)) {
        PrintError(_command, error);
        return false;
    }
    return true;
}

bool CModuleSession::Call(CRequestJson& request, SModuleReply& reply) {
    return _Send(request.Finish(nullptr), nullptr, reply);
}

bool CModuleSession::CallWithData(CRequestJson& request, const std::vector<uint8_t>& data,
                                  SModuleReply& reply) {
    const uint64_t size = data.size();
    return _Send(request.Finish(&size), &data, reply);
}

bool CModuleSession::_Send(const std::string& json, const std::vector<uint8_t>* data, SModuleReply& reply) {
    const size_t dataSize = data != nullptr ? data->size() : 0;
    if (json.size() + 1 + static_cast<uint64_t>(dataSize) > UINT32_MAX) {
        PrintError(_command, "the request would be 4 GiB or larger; a request's length is a 32-bit number");
        return false;
    }
    std::vector<char> buffer;
    buffer.reserve(json.size() + 1 + dataSize);
    buffer.assign(json.begin(), json.end());
    buffer.push_back('\0');
    if (data != nullptr) {
        buffer.insert(buffer.end(), data->begin(), data->end());
    }
    SModuleAnswer answer;
    std::string error;
    if (!_host.Process(buffer, true, answer, error)) {
        PrintError(_command, error);
        return false;
    }
    reply.document.Parse<rapidjson::kParseIterativeFlag>(answer.json.c_str(), answer.json.size());
    const ca::JsonValue* code = Member(&reply.document, "errorCode");
    if (reply.document.HasParseError() || code == nullptr || !code->IsUint()) {
        PrintError(_command, "the module's answer is no JSON object with \"errorCode\": " + answer.json);
        return false;
    }
    reply.errorCode = code->GetUint();
    reply.errorMessage = TextMember(&reply.document, "errorMessage");
    reply.needCertId = TextMember(&reply.document, "needCertId");
    reply.hasData = answer.hasData;
    reply.data.swap(answer.data);
    return true;
}

void PrintModuleError(const SModuleReply& reply) {
    // Some codes (50, private-key access refused) have no text on purpose.
    const std::string text =
        reply.errorMessage.empty() ? "the module answered an error without text" : reply.errorMessage;
    std::fprintf(stderr, "sestool: %s (code %u)\n", text.c_str(), static_cast<unsigned>(reply.errorCode));
}

const ca::JsonValue* Member(const ca::JsonValue* object, const char* key) {
    if (object == nullptr || !object->IsObject()) {
        return nullptr;
    }
    const auto it = object->FindMember(key);
    return it == object->MemberEnd() ? nullptr : &it->value;
}

std::string TextMember(const ca::JsonValue* object, const char* key) {
    const ca::JsonValue* value = Member(object, key);
    if (value == nullptr || !value->IsString()) {
        return std::string();
    }
    return std::string(value->GetString(), value->GetStringLength());
}

const char* JsonParseErrorText(rapidjson::ParseErrorCode code) { return rapidjson::GetParseError_En(code); }

void WriteJson(const ca::JsonValue& value) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    value.Accept(writer);
    std::fwrite(buffer.GetString(), 1, buffer.GetSize(), stdout);
    std::fputc('\n', stdout);
}

}  // namespace sestool
