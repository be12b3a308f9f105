#pragma once

// The commands' file input and output: any input read in bounded pieces, whole inputs of one
// request's size, and outputs put in place in one step.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sestool {

// kMaxFileBytes: a request's length travels in 32 bits, so a file of 4 GiB or more cannot be sent
// in one call.
constexpr uint64_t kMaxFileBytes = UINT32_MAX;

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
    // ReadAll replaces out with the rest of the input. More than kMaxFileBytes is refused, before
    // reading when the size is known.
    bool ReadAll(std::vector<uint8_t>& out, std::string& error);
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

// MakeFolders creates path and its missing parents with ca::TryCreateDir, each new one with mode
// (less the umask).
bool MakeFolders(const std::string& path, unsigned mode, std::string& error);

}  // namespace sestool
