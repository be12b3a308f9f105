#pragma once

// The pieces every everyday command shares: argument checks, file input and output, building one
// request, one module call with its answer split and parsed, and the module's error line.
#include <cstdint>
#include <string>
#include <vector>

#include "ca/Json.h"
#include "tools/sestool/ModuleHost.h"
#include "tools/sestool/Options.h"

namespace sestool {

// The module's method numbers ("mode") that the commands call.
constexpr uint32_t kModeSign = 14;
constexpr uint32_t kModeGetSignInfo = 29;
constexpr uint32_t kModeGetCertInfo2 = 34;
constexpr uint32_t kModeEnumCerts = 38;
constexpr uint32_t kModeCreateHash = 50;

// kMaxFileBytes: a request's length travels in 32 bits, so a file of 4 GiB or more cannot be sent.
constexpr uint64_t kMaxFileBytes = UINT32_MAX;

// PrintError writes "sestool COMMAND: text" and a line end on standard error.
void PrintError(const char* command, const std::string& text);

// SPositional says how many positional arguments a command takes and names them for the message.
struct SPositional {
    size_t min;
    size_t max;
    const char* names;  // "FILE and SIGNATURE"
};

// ParseCommandLine splits args by specs and checks the count of positional arguments. Prints the
// problem and returns false on a usage error.
bool ParseCommandLine(const char* command, const std::vector<std::string>& args,
                      const std::vector<SOptionSpec>& specs, const SPositional& positional,
                      SParsedArgs& parsed);

// WithModuleOptions adds the options of every command that loads the module: "--module PATH" and
// "-v"/"--verbose".
std::vector<SOptionSpec> WithModuleOptions(std::vector<SOptionSpec> specs);

// ReadInputFile reads the whole of path ("-": standard input) into out. A file of more than
// kMaxFileBytes is refused before it is read. Returns false with a message in error.
bool ReadInputFile(const std::string& path, std::vector<uint8_t>& out, std::string& error);

// WriteOutputFile creates path with the permission bits mode (less the umask) and writes the bytes.
// replace false refuses an existing file (alreadyExists set); a file left half-written is removed.
bool WriteOutputFile(const std::string& path, const void* bytes, size_t size, bool replace, unsigned mode,
                     std::string& error, bool* alreadyExists = nullptr);

// MakeFolders creates path and its missing parents, each new one with mode (less the umask).
bool MakeFolders(const std::string& path, unsigned mode, std::string& error);

// CertificateFolder is the folder the module loads its certificates from, with a trailing "/".
std::string CertificateFolder();

// PrintModuleLogLine is the log callback handed to CM_Init: it prints "[log] text" or
// "[error] text" on standard error once SetVerboseLog(true) was called, and nothing otherwise.
bool PrintModuleLogLine(const wchar_t* text, bool isError);
void SetVerboseLog(bool verbose);

// CRequestJson writes one request object: "mode", "clientId" "sestool", then the members added.
class CRequestJson {
public:
    explicit CRequestJson(uint32_t mode);

    void Text(const char* key, const std::string& utf8);
    void Flag(const char* key, bool value);
    // Bytes writes base64 text; false when the text would not fit a JSON string (3 GiB and more).
    [[nodiscard]] bool Bytes(const char* key, const std::vector<uint8_t>& bytes);
    // Finish closes the object, with "fileDataSize" last when fileDataSize is given.
    std::string Finish(const uint64_t* fileDataSize);

private:
    rapidjson::StringBuffer _buffer;
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

    // Call sends the request and fills reply. false means no usable answer (printed); a module
    // error is a true result with reply.errorCode set.
    bool Call(CRequestJson& request, SModuleReply& reply);
    // CallWithData sends data as raw bytes after the JSON's NUL ("fileDataSize"). Every file a
    // command sends goes through here, so a chunked path for large files belongs in this one place.
    bool CallWithData(CRequestJson& request, const std::vector<uint8_t>& data, SModuleReply& reply);

private:
    bool _Send(const std::string& json, const std::vector<uint8_t>* data, SModuleReply& reply);

    const char* _command;
    CModuleHost _host;
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
