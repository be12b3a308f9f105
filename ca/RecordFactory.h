#pragma once

// The envelope's record factory: the records of this layer by type id, and what the layers above
// lend it (their records and the HTTP client).
#include <cstdint>
#include <memory>
#include <string>

#include "base/Blob.h"
#include "ca/Serializable.h"

namespace ca {

using RecordFactory = std::unique_ptr<ISerializable> (*)();

// SEnvelopeHooks are what the layers above lend the envelope: the records they define (the
// configuration records, by type id) and the HTTP client behind "fileDataUrl" and "uploadUrl".
// The module installs them once; without them those keys are not read and transfers answer 16302.
struct SEnvelopeHooks {
    RecordFactory upperRecords[kTypeAttrCertInfo + 1] = {};
    // download fetches url into out and returns its size; throws Exception like the HTTP client.
    uint32_t (*download)(const std::string& url, MallocPtr& out) = nullptr;
    // upload posts data and fills the answer; returns 0 or an error code with a UTF-8 text.
    uint32_t (*upload)(const std::string& url, long timeoutMs, const uint8_t* data, uint32_t size,
                       MallocPtr& answer, uint32_t& answerSize, std::string& errorText) = nullptr;
};

// InstallEnvelopeHooks makes *hooks (an object that lives for the process) the envelope's.
void InstallEnvelopeHooks(const SEnvelopeHooks* hooks);
const SEnvelopeHooks& EnvelopeHooks();

// CreateRecord returns an empty record for an envelope type id, or null when no layer has a record
// for it (the key is then not read).
std::unique_ptr<ISerializable> CreateRecord(int type);

}  // namespace ca
