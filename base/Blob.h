#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace ca {

// FreeDeleter releases malloc'ed blocks: record buffers and the host's response travel as such.
struct FreeDeleter {
    void operator()(void* p) const noexcept { std::free(p); }
};

using MallocPtr = std::unique_ptr<uint8_t[], FreeDeleter>;

// Blob is one owned heap block and its 32-bit size.
struct Blob {
    MallocPtr data;
    uint32_t size = 0;
};

// AllocOrThrow allocates n bytes (at least one) or throws Exception(16197).
MallocPtr AllocOrThrow(size_t n);

// CopyBlob returns an owned copy of n bytes.
MallocPtr CopyBlob(const uint8_t* bytes, size_t n);

}  // namespace ca
