#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/Json.h"

// LLVMFuzzerTestOneInput is the entry point of a fuzz target: libFuzzer calls it in fuzz_* programs,
// ReplayMain.cpp in replay_* programs. It returns 0 and aborts on a finding.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// kFuzzTarget names the target in its findings ("fuzz_asn1"); each target defines it.
extern const char* const kFuzzTarget;

// Fail reports a finding and aborts, so that libFuzzer keeps the input.
[[noreturn]] inline void Fail(const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", kFuzzTarget, what.c_str());
    std::abort();
}

// Json is the JSON text a record writes.
template <typename T>
std::string Json(const T& record) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    record.ToJson(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}
