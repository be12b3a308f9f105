#include "tools/sestool/ModuleSession.h"

#include <unistd.h>

#include <cstdio>

#include "base/Modes.h"
#include "tools/sestool/Arguments.h"
#include "tools/sestool/Output.h"
#include "tools/sestool/Progress.h"

namespace sestool {

namespace {

bool gVerboseLog = false;

// The stream mode that carries each one-shot mode's data in chunks, and how much of it the module
// can take: Sign and GetSignInfo run on the assembled payload, the hash on a running CRC.
struct SStreamRow {
    uint32_t mode;
    uint32_t streamMode;
    uint64_t payloadLimit;
};
constexpr SStreamRow kStreamModes[] = {
    {ca::kModeSign, ca::kModeStreamSign, kMaxAssembledBytes},
    {ca::kModeVerify, ca::kModeStreamVerify, kMaxAssembledBytes},
    {ca::kModeGetSignInfo, ca::kModeStreamGetSignInfo, kMaxAssembledBytes},
    {ca::kModeCreateHash, ca::kModeStreamHash, UINT64_MAX},
};

const SStreamRow* FindStreamRow(uint32_t mode) {
    for (const auto& row : kStreamModes) {
        if (row.mode == mode) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

bool PrintModuleLogLine(const wchar_t* text, bool isError) {
    if (gVerboseLog) {
        std::fprintf(stderr, "[%s] %s\n", isError ? "error" : "log", WideToUtf8(text).c_str());
    }
    return true;
}

void SetVerboseLog(bool verbose) { gVerboseLog = verbose; }

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
    std::vector<uint8_t> data;
    if (!input.ReadAll(data, error)) {
        PrintError(_command, error);
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

}  // namespace sestool
