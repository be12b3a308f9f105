#include "tools/sestool/CommandSupport.h"

#include <fcntl.h>
#include <rapidjson/error/en.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/Encode.h"
#include "base/FileUtil.h"
#include "base/SpecialFolder.h"
#include "tools/sestool/Progress.h"

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

// The stream mode that carries each one-shot mode's data in chunks, and how much of it the module
// can take: Sign and GetSignInfo run on the assembled payload, the hash on a running CRC.
struct SStreamRow {
    uint32_t mode;
    uint32_t streamMode;
    uint64_t payloadLimit;
};
constexpr SStreamRow kStreamModes[] = {
    {kModeSign, kModeStreamSign, kMaxAssembledBytes},
    {kModeVerify, kModeStreamVerify, kMaxAssembledBytes},
    {kModeGetSignInfo, kModeStreamGetSignInfo, kMaxAssembledBytes},
    {kModeCreateHash, kModeStreamHash, UINT64_MAX},
};

const SStreamRow* FindStreamRow(uint32_t mode) {
    for (const auto& row : kStreamModes) {
        if (row.mode == mode) {
            return &row;
        }
    }
    return nullptr;
}

// One read asks for at most this much, so a short input never costs a large buffer.
constexpr size_t kReadPiece = size_t{1} << 20;

constexpr const char* kClientId = "sestool";

// The code points Printable escapes: C0 and C1 controls with DEL, the Arabic letter mark, and the
// marks, separators, embeddings, overrides and isolates that move or break a line of text.
struct SCodeRange {
    char32_t first;
    char32_t last;
};
constexpr SCodeRange kEscapedRanges[] = {
    {0x00, 0x1F}, {0x7F, 0x9F}, {0x061C, 0x061C}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069},
};

struct SNamedEscape {
    char32_t code;
    const char* text;
};
constexpr SNamedEscape kNamedEscapes[] = {{'\n', "\\n"}, {'\r', "\\r"}, {'\t', "\\t"}, {'\\', "\\\\"}};

const char* NamedEscape(char32_t code) {
    for (const auto& row : kNamedEscapes) {
        if (row.code == code) {
            return row.text;
        }
    }
    return nullptr;
}

bool IsEscaped(char32_t code) {
    for (const auto& range : kEscapedRanges) {
        if (code >= range.first && code <= range.last) {
            return true;
        }
    }
    return false;
}

// DecodeUtf8 reads the character at text[at] into code and returns its length in bytes, or 0 when
// the bytes there are no well-formed UTF-8 (overlong forms, surrogates and values past U+10FFFF
// included).
size_t DecodeUtf8(const std::string& text, size_t at, char32_t& code) {
    const auto lead = static_cast<unsigned char>(text[at]);
    size_t length = 0;
    char32_t least = 0;
    if (lead < 0x80) {
        code = lead;
        return 1;
    }
    if ((lead & 0xE0) == 0xC0) {
        length = 2;
        least = 0x80;
        code = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3;
        least = 0x800;
        code = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4;
        least = 0x10000;
        code = lead & 0x07;
    } else {
        return 0;
    }
    if (length > text.size() - at) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80) {
            return 0;
        }
        code = (code << 6) | (next & 0x3F);
    }
    if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        return 0;
    }
    return length;
}

}  // namespace

void PrintError(const char* command, const std::string& text) {
    std::fprintf(stderr, "sestool %s: %s\n", command, text.c_str());
}

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

CInputFile::~CInputFile() {
    if (_fd > STDIN_FILENO) {
        close(_fd);
    }
}

bool CInputFile::Open(const std::string& path, std::string& error) {
    const bool fromStdin = path == "-";
    _path = path;
    _name = fromStdin ? std::string("standard input") : "'" + path + "'";
    _fd = fromStdin ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (_fd < 0) {
        error = SystemError("cannot open", path);
        return false;
    }
    struct stat info {};
    if (fstat(_fd, &info) == 0 && S_ISREG(info.st_mode)) {
        _sizeKnown = true;
        _size = static_cast<uint64_t>(info.st_size);
    }
    return true;
}

bool CInputFile::Read(uint64_t limit, std::vector<uint8_t>& out, std::string& error) {
    out.clear();
    if (_sizeKnown) {
        out.reserve(static_cast<size_t>(std::min(limit, _size)));
    }
    const size_t fromPending = static_cast<size_t>(std::min<uint64_t>(limit, _pending.size() - _pendingAt));
    out.insert(out.end(), _pending.begin() + static_cast<ptrdiff_t>(_pendingAt),
               _pending.begin() + static_cast<ptrdiff_t>(_pendingAt + fromPending));
    _pendingAt += fromPending;
    if (_pendingAt == _pending.size()) {
        std::vector<uint8_t>().swap(_pending);  // a pipe's look-ahead may be large: give it back
        _pendingAt = 0;
    }
    while (out.size() < limit) {
        const size_t old = out.size();
        const size_t want = static_cast<size_t>(std::min<uint64_t>(limit - old, kReadPiece));
        out.resize(old + want);
        const ssize_t n = read(_fd, out.data() + old, want);
        out.resize(old + (n > 0 ? static_cast<size_t>(n) : 0));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            error = SystemError("cannot read", _path);
            return false;
        }
        if (n == 0) {
            break;
        }
    }
    return true;
}

bool CInputFile::AtEnd(bool& atEnd, std::string& error) {
    if (_pendingAt < _pending.size()) {
        atEnd = false;
        return true;
    }
    std::vector<uint8_t> next;
    if (!Read(1, next, error)) {
        return false;
    }
    atEnd = next.empty();
    PutBack(std::move(next));
    return true;
}

void CInputFile::PutBack(std::vector<uint8_t> bytes) {
    bytes.insert(bytes.end(), _pending.begin() + static_cast<ptrdiff_t>(_pendingAt), _pending.end());
    _pending = std::move(bytes);
    _pendingAt = 0;
}

bool ReadInputFile(const std::string& path, std::vector<uint8_t>& out, std::string& error) {
    CInputFile input;
    if (!input.Open(path, error)) {
        return false;
    }
    if (input.SizeKnown() && input.Size() > kMaxFileBytes) {
        error = TooLarge(input.Name(), input.Size());
        return false;
    }
    // A pipe or a growing file has no size to check up front: one byte too many tells.
    if (!input.Read(kMaxFileBytes + 1, out, error)) {
        return false;
    }
    if (out.size() > kMaxFileBytes) {
        error = TooLarge(input.Name(), out.size());
        return false;
    }
    return true;
}

bool WriteOutputFile(const std::string& path, const void* bytes, size_t size, unsigned mode, bool replace,
                     std::string& error, bool* alreadyExists) {
    if (path != "-") {
        return ca::WriteFileAtomic(path, bytes, size, mode, replace, error, alreadyExists);
    }
    if (std::fwrite(bytes, 1, size, stdout) != size || std::fflush(stdout) != 0) {
        error = std::string("cannot write standard output: ") + std::strerror(errno);
        return false;
    }
    return true;
}

std::string Printable(const std::string& utf8) {
    std::string out;
    out.reserve(utf8.size());
    for (size_t at = 0; at < utf8.size();) {
        char32_t code = 0;
        const size_t length = DecodeUtf8(utf8, at, code);
        if (length == 0) {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned char>(utf8[at]));
            out += escaped;
            ++at;
            continue;
        }
        const char* named = NamedEscape(code);
        if (named != nullptr) {
            out += named;
        } else if (IsEscaped(code)) {
            char escaped[16];
            std::snprintf(escaped, sizeof(escaped), "\\u{%x}", static_cast<unsigned>(code));
            out += escaped;
        } else {
            out.append(utf8, at, length);
        }
        at += length;
    }
    return out;
}

bool MakeFolders(const std::string& path, unsigned mode, std::string& error) {
    if (!ca::TryCreateDir(path, mode)) {
        error = SystemError("cannot create folder", path);
        return false;
    }
    return true;
}

bool PrintModuleLogLine(const wchar_t* text, bool isError) {
    if (gVerboseLog) {
        std::fprintf(stderr, "[%s] %s\n", isError ? "error" : "log", WideToUtf8(text).c_str());
    }
    return true;
}

void SetVerboseLog(bool verbose) { gVerboseLog = verbose; }

CRequestJson::CRequestJson(uint32_t mode) : _mode(mode), _writer(_members) { _writer.StartObject(); }

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

std::string CRequestJson::Finish(const uint64_t* fileDataSize) const {
    return _Compose(_mode, true,
                    fileDataSize != nullptr ? ",\"fileDataSize\":" + std::to_string(*fileDataSize) : "");
}

std::string CRequestJson::FinishChunk(uint32_t streamMode, uint32_t streamId, bool final,
                                      uint64_t fileDataSize) const {
    std::string tail;
    if (streamId != 0) {
        tail += ",\"streamId\":" + std::to_string(streamId);
    }
    if (final) {
        tail += ",\"streamFinalChunk\":true";
    }
    tail += ",\"fileDataSize\":" + std::to_string(fileDataSize);
    return _Compose(streamMode, final, tail);
}

std::string CRequestJson::_Compose(uint32_t mode, bool withMembers, const std::string& tail) const {
    std::string json = "{\"mode\":" + std::to_string(mode) + ",\"clientId\":\"" + kClientId + "\"";
    // The writer has the object open: "{" and the members, without the closing brace.
    if (withMembers && _members.GetSize() > 1) {
        json += ',';
        json.append(_members.GetString() + 1, _members.GetSize() - 1);
    }
    json += tail;
    json += '}';
    return json;
}

bool CModuleSession::Open(const SParsedArgs& parsed) {
    _verbose = parsed.Has("--verbose");
    SetVerboseLog(_verbose);
    const std::string path =
        parsed.Has("--module") ? parsed.Value("--module") : CModuleHost::DefaultModulePath();
    std::string error;
    if (!_host.Load(path, error) || !_host.Init(true, PrintModuleLogLine, error)) {
        PrintError(_command, error);
        return false;
    }
    return true;
}

bool CModuleSession::ReadChunkSize(const SParsedArgs& parsed) {
    if (!parsed.Has("--chunk-size")) {
        return true;
    }
    const std::string text = parsed.Value("--chunk-size");
    uint64_t size = 0;
    if (!ParseByteSize(text, size) || size == 0 || size > kMaxChunkSize) {
        PrintError(_command, "--chunk-size '" + text +
                                 "': give a number of bytes from 1 to 1G, optionally with K, M or G");
        return false;
    }
    _chunkSize = size;
    _streamThreshold = size;
    return true;
}

bool CModuleSession::Call(CRequestJson& request, SModuleReply& reply) {
    return _Send(request.Finish(nullptr), nullptr, reply);
}

bool CModuleSession::CallWithData(CRequestJson& request, CInputFile& input, SModuleReply& reply) {
    std::string error;
    const SStreamRow* row = FindStreamRow(request.Mode());
    bool streamed = false;
    if (row != nullptr && input.SizeKnown()) {
        streamed = input.Size() > _streamThreshold;
    } else if (row != nullptr) {
        // A pipe tells its size only at its end: read as much as one call takes and look one byte on.
        std::vector<uint8_t> head;
        bool atEnd = false;
        if (!input.Read(_streamThreshold, head, error) || !input.AtEnd(atEnd, error)) {
            PrintError(_command, error);
            return false;
        }
        streamed = !atEnd;
        input.PutBack(std::move(head));
    }
    if (streamed) {
        if (input.SizeKnown() && input.Size() > row->payloadLimit) {
            PrintError(_command, input.Name() + " is " + std::to_string(input.Size()) + " bytes: sestool " +
                                     _command +
                                     " takes files of less than 4 GiB; the module assembles the file in one "
                                     "block whose size is a 32-bit number");
            return false;
        }
        return _CallStreamed(request, row->streamMode, row->payloadLimit, input, reply);
    }
    if (input.SizeKnown() && input.Size() > kMaxFileBytes) {
        PrintError(_command, TooLarge(input.Name(), input.Size()));
        return false;
    }
    std::vector<uint8_t> data;
    if (!input.Read(kMaxFileBytes + 1, data, error)) {
        PrintError(_command, error);
        return false;
    }
    if (data.size() > kMaxFileBytes) {
        PrintError(_command, TooLarge(input.Name(), data.size()));
        return false;
    }
    const uint64_t size = data.size();
    return _Send(request.Finish(&size), &data, reply);
}

bool CModuleSession::_CallStreamed(const CRequestJson& request, uint32_t streamMode, uint64_t payloadLimit,
                                   CInputFile& input, SModuleReply& reply) {
    CProgress progress(_command, input.SizeKnown() ? input.Size() : CProgress::kUnknownTotal,
                       !_verbose && isatty(STDERR_FILENO) == 1);
    // Fail ends the progress line first, so the message starts on a line of its own.
    const auto fail = [&progress, this](const std::string& text) {
        progress.Finish();
        if (!text.empty()) {
            PrintError(_command, text);
        }
        return false;
    };
    std::vector<uint8_t> chunk;
    std::string error;
    uint32_t streamId = 0;
    uint64_t done = 0;
    for (bool final = false; !final;) {
        if (!input.Read(_chunkSize, chunk, error) || !input.AtEnd(final, error)) {
            return fail(error);
        }
        if (chunk.size() > payloadLimit - done) {
            return fail(input.Name() + " holds 4 GiB or more: sestool " + _command +
                        " takes files of less than 4 GiB");
        }
        // Each answer is read into a fresh reply: a document's memory pool only grows while it lives.
        SModuleReply step;
        if (!_Send(request.FinishChunk(streamMode, streamId, final, chunk.size()), &chunk, step)) {
            return fail(std::string());
        }
        if (step.errorCode != 0) {
            progress.Finish();
            reply = std::move(step);
            return true;
        }
        const ca::JsonValue* id = Member(&step.document, "streamId");
        const uint32_t answeredId = id != nullptr && id->IsUint() ? id->GetUint() : 0;
        // A different id means the module lost the stream and started a new one with this chunk.
        if (answeredId == 0 || (streamId != 0 && answeredId != streamId)) {
            return fail("the module answered a chunk with stream " + std::to_string(answeredId) +
                        " instead of " + (streamId == 0 ? "a new stream's id" : std::to_string(streamId)));
        }
        streamId = answeredId;
        done += chunk.size();
        progress.Update(done);
        if (final) {
            progress.Finish();
            reply = std::move(step);
        }
    }
    return true;
}

bool CModuleSession::_Send(const std::string& json, const std::vector<uint8_t>* data, SModuleReply& reply) {
    const size_t dataSize = data != nullptr ? data->size() : 0;
    if (json.size() + 1 + static_cast<uint64_t>(dataSize) > UINT32_MAX) {
        PrintError(_command, "the request would be 4 GiB or larger; a request's length is a 32-bit number");
        return false;
    }
    _request.clear();
    _request.reserve(json.size() + 1 + dataSize);
    _request.assign(json.begin(), json.end());
    _request.push_back('\0');
    if (data != nullptr) {
        _request.insert(_request.end(), data->begin(), data->end());
    }
    SModuleAnswer answer;
    std::string error;
    if (!_host.Process(_request, true, answer, error)) {
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
    std::fprintf(stderr, "sestool: %s (code %u)\n", Printable(text).c_str(),
                 static_cast<unsigned>(reply.errorCode));
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
