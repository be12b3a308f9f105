#pragma once

#include <cstddef>
#include <cstdint>

// LLVMFuzzerTestOneInput is the entry point of a fuzz target: libFuzzer calls it in fuzz_* programs,
// ReplayMain.cpp in replay_* programs. It returns 0 and aborts on a finding.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
