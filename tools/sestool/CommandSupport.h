#pragma once

// The pieces every everyday command shares: argument checks, file input and output, building one
// request, one module call with its answer split and parsed, and the module's error line.
#include <cstdint>
#include <string>
#include <vector>

#include "base/Json.h"
#include "ses/CCertificateCollection.h"
#include "tools/sestool/ModuleHost.h"
#include "tools/sestool/Options.h"

namespace sestool {

// The module's method numbers ("mode") that the commands call.
constexpr uint32_t kModeSign = 14;
constexpr uint32_t kModeVerify = 15;
constexpr uint32_t kModeGetSignInfo = 29;
constexpr uint32_t kModeGetCertInfo2 = 34;
constexpr uint32_t kModeEnumStore = 37;
constexpr uint32_t kModeEnumCerts = 38;
constexpr uint32_t kModeGetCurStore = 47;
constexpr uint32_t kModeCreateHash = 50;
// The stream modes: the same operations fed in chunks over several calls.
constexpr uint32_t kModeStreamSign = 53;
constexpr uint32_t kModeStreamVerify = 54;
constexpr uint32_t kModeStreamGetSignInfo = 55;
constexpr uint32_t kModeStreamHash = 63;

// kMaxFileBytes: a request's length travels in 32 bits, so a file of 4 GiB or more cannot be sent
// in one call.
constexpr uint64_t kMaxFileBytes = UINT32_MAX;
// Files larger than kStreamThreshold travel in chunks of kDefaultChunkSize, so neither sestool nor
// the module holds more than a chunk per call; "--chunk-size" sets both to its value.
constexpr uint64_t kStreamThreshold = uint64_t{32} << 20;
constexpr uint64_t kDefaultChunkSize = uint64_t{8} << 20;
constexpr uint64_t kMaxChunkSize = uint64_t{1} << 30;
// The module assembles a streamed payload for Sign and GetSignInfo in one block of 32-bit size; the
// hashing stream keeps only a running CRC and takes any size.
constexpr uint64_t kMaxAssembledBytes = UINT32_MAX;

// PrintError writes "sestool COMMAND: text" and a line end on standard error.
void PrintError(const char* command, const std::string& text);

// SPositional says how many positional arguments a command takes and names them for the message.
struct SPositional {
    size_t min;
    size_t max;
    const char* names;  // "FILE and SIGNATURE"
};

// ParseCommandLine splits args by the accepted options and checks the count of positional arguments. Prints
// the problem and returns false on a usage error.
bool ParseCommandLine(const char* command, const std::vector<std::string>& args,
                      const std::vector<SOptionSpec>& accepted, const SPositional& positional,
                      SParsedArgs& parsed);

// WithModuleOptions adds the options of every command that loads the module: "--module PATH" and
// "-v"/"--verbose".
std::vector<SOptionSpec> WithModuleOptions(std::vector<SOptionSpec> accepted);

// WithChunkSizeOption adds "--chunk-size N" of the commands that send a file.
std::vector<SOptionSpec> WithChunkSizeOption(std::vector<SOptionSpec> accepted);

// ParseByteSize reads a byte count: decimal digits with an optional K, M or G (either case, powers
// of 1024). False for anything else or a value past 64 bits.
bool ParseByteSize(const std::string& text, uint64_t& out);

// CInputFile reads one input ("-": standard input) front to back in pieces, so a file of any size
// passes through bounded memory. Bytes given to PutBack are read again before the rest.
class CInputFile {
public:
    CInputFile() = default;
    ~CInputFile();
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;

    // Open opens path; false with a message in error.
    bool Open(const std::string& path, std::string& error);
    // Name is "'PATH'" or "standard input", for messages.
    const std::string& Name() const { return _name; }
    // SizeKnown is true for a regular file; a pipe's size is known only at its end.
    bool SizeKnown() const { return _sizeKnown; }
    uint64_t Size() const { return _size; }

    // Read replaces out with the next bytes: limit of them, fewer only at the end of the input.
    bool Read(uint64_t limit, std::vector<uint8_t>& out, std::string& error);
    // AtEnd tells whether nothing is left; it reads one byte ahead (kept for the next Read) to know.
    bool AtEnd(bool& atEnd, std::string& error);
    void PutBack(std::vector<uint8_t> bytes);

private:
    int _fd = -1;
    std::string _path;
    std::string _name;
    bool _sizeKnown = false;
    uint64_t _size = 0;
    std::vector<uint8_t> _pending;
    size_t _pendingAt = 0;
};

// ReadInputFile reads the whole of path ("-": standard input) into out. A file of more than
// kMaxFileBytes is refused before it is read. Returns false with a message in error.
bool ReadInputFile(const std::string& path, std::vector<uint8_t>& out, std::string& error);

// WriteOutputFile writes the bytes to standard output when path is "-", and otherwise puts them at
// path with ca::WriteFileAtomic: the old file stays whole until the new one is complete, and no
// FIFO, device or folder is ever opened or removed.
bool WriteOutputFile(const std::string& path, const void* bytes, size_t size, unsigned mode, bool replace,
                     std::string& error, bool* alreadyExists = nullptr);

// Printable makes a text from a container, a certificate or a folder listing safe to print: its
// control characters could otherwise move the cursor, recolour the terminal or forge whole lines.
// Escapes follow Rust's escape_debug: "\n", "\r", "\t" and "\\"; "\u{1b}" for the other C0
// controls, DEL, the C1 controls and Unicode's line, paragraph and bidirectional controls; "\xff"
// for each byte that is no part of well-formed UTF-8. All else passes unchanged.
std::string Printable(const std::string& utf8);

// MakeFolders creates path and its missing parents, each new one with mode (less the umask).
bool MakeFolders(const std::string& path, unsigned mode, std::string& error);


// PrintModuleLogLine is the log callback handed to CM_Init: it prints "[log] text" or
// "[error] text" on standard error once SetVerboseLog(true) was called, and nothing otherwise.
bool PrintModuleLogLine(const wchar_t* text, bool isError);
void SetVerboseLog(bool verbose);

// CRequestJson writes one request object: "mode", "clientId" "sestool", then the members added.
class CRequestJson {
public:
    explicit CRequestJson(uint32_t mode);

    uint32_t Mode() const { return _mode; }
    void Text(const char* key, const std::string& utf8);
    void Flag(const char* key, bool value);
    // Bytes writes base64 text; false when the text would not fit a JSON string (3 GiB and more).
    [[nodiscard]] bool Bytes(const char* key, const std::vector<uint8_t>& bytes);
    // Finish gives the request, with "fileDataSize" last when fileDataSize is given.
    std::string Finish(const uint64_t* fileDataSize) const;
    // FinishChunk gives one call of a stream in streamMode: "streamId" unless 0 (a new stream), and
    // "fileDataSize". Only the final chunk carries the members added, and "streamFinalChunk" true.
    std::string FinishChunk(uint32_t streamMode, uint32_t streamId, bool final, uint64_t fileDataSize) const;

private:
    std::string _Compose(uint32_t mode, bool withMembers, const std::string& tail) const;

    uint32_t _mode;
    rapidjson::StringBuffer _members;  // "{" and the members added, comma-separated
    ca::JsonWriter _writer;
};

// SModuleReply is the module's answer: the header fields, the whole JSON document and the raw
// bytes behind the JSON's NUL.
struct SModuleReply {
    uint32_t errorCode = 0;
    std::string errorMessage;
    std::string needCertId;
    rapidjson::Document document;
    bool hasData = false;
    std::vector<uint8_t> data;
};

// CModuleSession is one loaded and initialised module that answers a command's calls. It reports
// its own failures on standard error, prefixed with the command's name.
class CModuleSession {
public:
    explicit CModuleSession(const char* command) : _command(command) {}

    // Open loads the module ("--module" or the one beside sestool) and initialises it in service
    // mode: a command line has no desktop for message boxes. "-v" turns the log lines on.
    bool Open(const SParsedArgs& parsed);

    // ReadChunkSize takes "--chunk-size" from parsed. Prints the problem and returns false when it is
    // no size from 1 byte to 1 GiB.
    bool ReadChunkSize(const SParsedArgs& parsed);

    // Call sends the request and fills reply. false means no usable answer (printed); a module
    // error is a true result with reply.errorCode set.
    bool Call(CRequestJson& request, SModuleReply& reply);
    // CallWithData sends input as raw bytes after the JSON's NUL ("fileDataSize"). Every file a
    // command sends goes through here. Input larger than the stream threshold (or than one chunk
    // when "--chunk-size" was given) goes in chunks through the request mode's stream mode, read one
    // chunk at a time; reply is then the final chunk's answer, or the first error answered.
    bool CallWithData(CRequestJson& request, CInputFile& input, SModuleReply& reply);

private:
    bool _CallStreamed(const CRequestJson& request, uint32_t streamMode, uint64_t payloadLimit,
                       CInputFile& input, SModuleReply& reply);
    bool _Send(const std::string& json, const std::vector<uint8_t>* data, SModuleReply& reply);

    const char* _command;
    CModuleHost _host;
    bool _verbose = false;
    uint64_t _chunkSize = kDefaultChunkSize;
    uint64_t _streamThreshold = kStreamThreshold;
    std::vector<char> _request;  // kept between calls: a stream sends chunks of one size
};

// PrintModuleError writes the module's error as "sestool: MESSAGE (code N)" on standard error.
void PrintModuleError(const SModuleReply& reply);

// Member returns object[key], or null when object is null, no object, or has no such member.
const ca::JsonValue* Member(const ca::JsonValue* object, const char* key);
// TextMember returns the string object[key], or "" when it is missing or no string.
std::string TextMember(const ca::JsonValue* object, const char* key);

// JsonParseErrorText names a RapidJSON parse error in English. RapidJSON headers come only through
// ca/Json.h, which configures them the same way for every unit of the program.
const char* JsonParseErrorText(rapidjson::ParseErrorCode code);

// WriteJson prints value compactly and a line end on standard output.
void WriteJson(const ca::JsonValue& value);

}  // namespace sestool
