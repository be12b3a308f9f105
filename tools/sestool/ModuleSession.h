#pragma once

// One loaded module and the calls a command makes to it: whole requests, files sent as raw bytes
// and large files sent in chunks through the stream modes, and the module's log lines.
#include <cstdint>
#include <string>
#include <vector>

#include "tools/sestool/Files.h"
#include "tools/sestool/ModuleHost.h"
#include "tools/sestool/Options.h"
#include "tools/sestool/ReplyJson.h"
#include "tools/sestool/RequestJson.h"

namespace sestool {

// Files larger than kStreamThreshold travel in chunks of kDefaultChunkSize, so neither sestool nor
// the module holds more than a chunk per call; "--chunk-size" sets both to its value.
constexpr uint64_t kStreamThreshold = uint64_t{32} << 20;
constexpr uint64_t kDefaultChunkSize = uint64_t{8} << 20;
constexpr uint64_t kMaxChunkSize = uint64_t{1} << 30;
// The module assembles a streamed payload for Sign and GetSignInfo in one block of 32-bit size; the
// hashing stream keeps only a running CRC and takes any size.
constexpr uint64_t kMaxAssembledBytes = UINT32_MAX;

// PrintModuleLogLine is the log callback handed to CM_Init: it prints "[log] text" or
// "[error] text" on standard error once SetVerboseLog(true) was called, and nothing otherwise.
bool PrintModuleLogLine(const wchar_t* text, bool isError);
void SetVerboseLog(bool verbose);

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

}  // namespace sestool
