// Feeds arbitrary text to the base64 decoder and arbitrary payloads to the armour decoder.
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "fuzz/FuzzTarget.h"

const char* const kFuzzTarget = "fuzz_base64";

namespace {

void CheckCode(const ca::Exception& e) {
    if (e.code != ca::kNoDataInArgs && e.code != ca::kExecutionError) {
        Fail("unexpected exception code");
    }
}

// Decode checks the plain decoder on a NUL-terminated copy: the result fits the text, and
// encoding it and decoding again gives the same bytes.
void Decode(const uint8_t* data, size_t size) {
    const std::unique_ptr<char[]> text(new char[size + 1]);
    std::memcpy(text.get(), data, size);
    text[size] = '\0';
    ca::MallocPtr out;
    uint32_t outSize = 0;
    try {
        ca::Base64Decode(text.get(), out, outSize);
    } catch (const ca::Exception& e) {
        CheckCode(e);
        return;
    }
    if (outSize == 0) {
        return;
    }
    if (out == nullptr || outSize > std::strlen(text.get()) / 4 * 3 + 2) {
        Fail("Base64Decode gave more bytes than the text can hold");
    }
    const std::string again = ca::Base64Encode(out.get(), outSize);
    ca::MallocPtr back;
    uint32_t backSize = 0;
    ca::Base64Decode(again.c_str(), back, backSize);
    if (backSize != outSize || std::memcmp(back.get(), out.get(), outSize) != 0) {
        Fail("decoding the encoded bytes does not give them back");
    }
}

void DecodeArmour(const uint8_t* payload, uint32_t size, const std::vector<ca::TokenPair>& tokens) {
    ca::MallocPtr out;
    uint32_t outSize = 12345;
    bool decoded = false;
    try {
        decoded = ca::DecodeBase64IfNeeded(payload, size, tokens, out, outSize);
    } catch (const ca::Exception& e) {
        CheckCode(e);
        return;
    }
    if (decoded != (outSize > 0) || decoded != (out != nullptr)) {
        Fail("DecodeBase64IfNeeded result and output disagree");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > UINT32_MAX) {
        return 0;
    }
    Decode(data, size);
    // The payload is not NUL-terminated (both drivers pass a block of exactly size bytes): the
    // decoder must stay inside size.
    const std::vector<ca::TokenPair> all = {ca::CERT_TOKEN,     ca::CRL_TOKEN,        ca::PKCS7_TOKEN,
                                            ca::CMS_SIGN_TOKEN, ca::PKCS7_SIGN_TOKEN, ca::ENC_TOKEN};
    DecodeArmour(data, static_cast<uint32_t>(size), all);
    for (const auto& pair : all) {
        DecodeArmour(data, static_cast<uint32_t>(size), {pair});
    }
    DecodeArmour(data, static_cast<uint32_t>(size), {});
    return 0;
}
