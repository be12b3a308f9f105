#include "base/FileUtil.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace ca {

namespace {

// CFd closes its descriptor on every way out.
class CFd {
public:
    explicit CFd(int inFd) : fd(inFd) {}
    ~CFd() {
        if (fd >= 0) {
            close(fd);
        }
    }
    CFd(const CFd&) = delete;
    CFd& operator=(const CFd&) = delete;
    const int fd;
};

bool IsDirectory(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

bool TryCreateDir(const std::string& path, unsigned mode) {
    if (path.empty()) {
        return false;
    }
    // Each prefix ending before a "/" is a parent; the whole path comes last.
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        if (!part.empty() && part.back() != '/' && mkdir(part.c_str(), static_cast<mode_t>(mode)) != 0 &&
            errno != EEXIST) {
            return false;
        }
        if (end == std::string::npos) {
            break;
        }
    }
    return IsDirectory(path);
}

bool StringToFile(const std::string& path, const std::string& text, unsigned mode) {
    const CFd file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, static_cast<mode_t>(mode)));
    if (file.fd < 0) {
        return false;
    }
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = write(file.fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

bool FileToString(const std::string& path, std::string& out, size_t maxBytes) {
    out.clear();
    // O_NONBLOCK: opening a FIFO without a writer must not hang the host; it is refused below.
    const CFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file.fd < 0) {
        return false;
    }
    struct stat info {};
    if (fstat(file.fd, &info) != 0 || !S_ISREG(info.st_mode) ||
        static_cast<uint64_t>(info.st_size) > maxBytes) {
        return false;
    }
    out.reserve(static_cast<size_t>(info.st_size));
    char chunk[16384];
    for (;;) {
        const ssize_t n = read(file.fd, chunk, sizeof(chunk));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            out.clear();
            return false;
        }
        if (n == 0) {
            return true;
        }
        // The file may have grown since fstat.
        if (static_cast<size_t>(n) > maxBytes - out.size()) {
            out.clear();
            return false;
        }
        out.append(chunk, static_cast<size_t>(n));
    }
}

bool IsRegularFile(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace ca
