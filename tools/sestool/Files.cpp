#include "tools/sestool/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/FileUtil.h"

namespace sestool {

namespace {

// One read asks for at most this much, so a short input never costs a large buffer.
constexpr size_t kReadPiece = size_t{1} << 20;

std::string SystemError(const char* what, const std::string& path) {
    return std::string(what) + " '" + path + "': " + std::strerror(errno);
}

std::string TooLarge(const std::string& name, uint64_t size) {
    return name + " is " + std::to_string(size) +
           " bytes: files of 4 GiB or more cannot be sent, a request's length is a 32-bit number";
}

}  // namespace

CInputFile::~CInputFile() {
    if (_fd > STDIN_FILENO) {
        close(_fd);
    }
}

bool CInputFile::Open(const std::string& path, std::string& error) {
    const bool fromStdin = path == "-";
    _path = path;
    _name = fromStdin ? std::string("standard input") : "'" + path + "'";
    _fd = fromStdin ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (_fd < 0) {
        error = SystemError("cannot open", path);
        return false;
    }
    struct stat info {};
    if (fstat(_fd, &info) == 0 && S_ISREG(info.st_mode)) {
        _sizeKnown = true;
        _size = static_cast<uint64_t>(info.st_size);
    }
    return true;
}

bool CInputFile::Read(uint64_t limit, std::vector<uint8_t>& out, std::string& error) {
    out.clear();
    if (_sizeKnown) {
        out.reserve(static_cast<size_t>(std::min(limit, _size)));
    }
    const size_t fromPending = static_cast<size_t>(std::min<uint64_t>(limit, _pending.size() - _pendingAt));
    out.insert(out.end(), _pending.begin() + static_cast<ptrdiff_t>(_pendingAt),
               _pending.begin() + static_cast<ptrdiff_t>(_pendingAt + fromPending));
    _pendingAt += fromPending;
    if (_pendingAt == _pending.size()) {
        std::vector<uint8_t>().swap(_pending);  // a pipe's look-ahead may be large: give it back
        _pendingAt = 0;
    }
    while (out.size() < limit) {
        const size_t old = out.size();
        const size_t want = static_cast<size_t>(std::min<uint64_t>(limit - old, kReadPiece));
        out.resize(old + want);
        const ssize_t n = read(_fd, out.data() + old, want);
        out.resize(old + (n > 0 ? static_cast<size_t>(n) : 0));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            error = SystemError("cannot read", _path);
            return false;
        }
        if (n == 0) {
            break;
        }
    }
    return true;
}

bool CInputFile::ReadAll(std::vector<uint8_t>& out, std::string& error) {
    if (_sizeKnown && _size > kMaxFileBytes) {
        error = TooLarge(_name, _size);
        return false;
    }
    // A pipe or a growing file has no size to check up front: one byte too many tells.
    if (!Read(kMaxFileBytes + 1, out, error)) {
        return false;
    }
    if (out.size() > kMaxFileBytes) {
        error = TooLarge(_name, out.size());
        return false;
    }
    return true;
}

bool CInputFile::AtEnd(bool& atEnd, std::string& error) {
    if (_pendingAt < _pending.size()) {
        atEnd = false;
        return true;
    }
    std::vector<uint8_t> next;
    if (!Read(1, next, error)) {
        return false;
    }
    atEnd = next.empty();
    PutBack(std::move(next));
    return true;
}

void CInputFile::PutBack(std::vector<uint8_t> bytes) {
    bytes.insert(bytes.end(), _pending.begin() + static_cast<ptrdiff_t>(_pendingAt), _pending.end());
    _pending = std::move(bytes);
    _pendingAt = 0;
}

bool ReadInputFile(const std::string& path, std::vector<uint8_t>& out, std::string& error) {
    CInputFile input;
    return input.Open(path, error) && input.ReadAll(out, error);
}

bool WriteOutputFile(const std::string& path, const void* bytes, size_t size, unsigned mode, bool replace,
                     std::string& error, bool* alreadyExists) {
    if (path != "-") {
        return ca::WriteFileAtomic(path, bytes, size, mode, replace, error, alreadyExists);
    }
    if (std::fwrite(bytes, 1, size, stdout) != size || std::fflush(stdout) != 0) {
        error = std::string("cannot write standard output: ") + std::strerror(errno);
        return false;
    }
    return true;
}

bool MakeFolders(const std::string& path, unsigned mode, std::string& error) {
    if (!ca::TryCreateDir(path, mode)) {
        error = SystemError("cannot create folder", path);
        return false;
    }
    return true;
}

}  // namespace sestool
