#include "base/FileUtil.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

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

// CTempFile closes and removes a temporary file on every way out until path is cleared, once it
// carries the target's name.
class CTempFile {
public:
    CTempFile() = default;
    ~CTempFile() {
        if (fd >= 0) {
            close(fd);
        }
        if (!path.empty()) {
            unlink(path.c_str());
        }
    }
    CTempFile(const CTempFile&) = delete;
    CTempFile& operator=(const CTempFile&) = delete;
    int fd = -1;
    std::string path;
};

// kMaxBaseInTempName keeps ".NAME.XXXXXX" within the 255 bytes of a file name.
constexpr size_t kMaxBaseInTempName = 255 - 8;

struct SFileKind {
    mode_t type;
    const char* name;
};
constexpr SFileKind kFileKinds[] = {
    {S_IFIFO, "a FIFO"},    {S_IFCHR, "a character device"}, {S_IFBLK, "a block device"},
    {S_IFSOCK, "a socket"}, {S_IFDIR, "a folder"},
};

const char* KindName(mode_t mode) {
    for (const auto& kind : kFileKinds) {
        if ((mode & S_IFMT) == kind.type) {
            return kind.name;
        }
    }
    return "no regular file";
}

std::string Quoted(const std::string& path) { return "'" + path + "'"; }

// SystemError appends errno's text; strerror_r, as the module may write from several threads.
std::string SystemError(const std::string& what) {
    char buffer[128];
    return what + ": " + strerror_r(errno, buffer, sizeof(buffer));
}

// TempSuffix is six letters or digits from the kernel's random source; should that fail, from the
// clock and a counter (a clash only costs another try).
std::string TempSuffix() {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    static std::atomic<uint64_t> counter{0};
    uint8_t random[6] = {};
    if (getrandom(random, sizeof(random), GRND_NONBLOCK) != static_cast<ssize_t>(sizeof(random))) {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        uint64_t mix = static_cast<uint64_t>(now.tv_nsec) * 0x9E3779B97F4A7C15ULL + counter++ +
                       (static_cast<uint64_t>(getpid()) << 40);
        for (uint8_t& byte : random) {
            byte = static_cast<uint8_t>(mix);
            mix >>= 8;
        }
    }
    std::string suffix;
    for (const uint8_t byte : random) {
        suffix += kAlphabet[byte % (sizeof(kAlphabet) - 1)];
    }
    return suffix;
}

// SyncFolder makes a rename in folder durable. Its failure is not reported: the new file is in
// place by then, and only its survival of a power cut is in doubt.
void SyncFolder(const std::string& folder) {
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

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

bool WriteFileAtomic(const std::string& path, const void* bytes, size_t size, unsigned mode, bool replace,
                     std::string& error, bool* alreadyExists) {
    if (alreadyExists != nullptr) {
        *alreadyExists = false;
    }
    const size_t slash = path.rfind('/');
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    if (base.empty()) {
        error = Quoted(path) + " names a folder, not a file";
        return false;
    }
    // lstat only: opening a FIFO would block, opening a device would act on it.
    struct stat old {};
    bool replacesFile = false;
    if (lstat(path.c_str(), &old) == 0) {
        if (!replace) {
            if (alreadyExists != nullptr) {
                *alreadyExists = true;
            }
            error = Quoted(path) + " already exists";
            return false;
        }
        if (S_ISLNK(old.st_mode)) {
            // Deliberate: the link itself is replaced, never written through, so a planted link
            // cannot aim the write at another file; one that leads nowhere or to no regular file
            // is refused as a sign of a mistake.
            struct stat target {};
            if (stat(path.c_str(), &target) != 0) {
                error =
                    Quoted(path) + " is a symbolic link that leads to no file; nothing is written through it";
                return false;
            }
            if (!S_ISREG(target.st_mode)) {
                error =
                    Quoted(path) + " is a symbolic link to " + KindName(target.st_mode) + "; not replaced";
                return false;
            }
        } else if (!S_ISREG(old.st_mode)) {
            error = Quoted(path) + " is " + KindName(old.st_mode) + ", not a regular file; not replaced";
            return false;
        } else {
            replacesFile = true;
        }
    } else if (errno != ENOENT) {
        error = SystemError("cannot look at " + Quoted(path));
        return false;
    }

    const std::string prefix = path.substr(0, slash == std::string::npos ? 0 : slash + 1);
    CTempFile temp;
    for (int tries = 0; temp.fd < 0 && tries < kMaxTempNameTries; ++tries) {
        temp.path = prefix + "." + base.substr(0, kMaxBaseInTempName) + "." + TempSuffix();
        temp.fd = open(temp.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW,
                       static_cast<mode_t>(mode));
        if (temp.fd < 0 && errno != EEXIST) {
            break;
        }
    }
    if (temp.fd < 0) {
        temp.path.clear();  // not ours: another writer's, or none at all
        error = SystemError("cannot create a temporary file beside " + Quoted(path));
        return false;
    }
    // A replaced file keeps its permission bits, as when it was truncated, but never gains any.
    if (replacesFile && fchmod(temp.fd, old.st_mode & static_cast<mode_t>(mode) & 0777) != 0) {
        error = SystemError("cannot set the permissions of " + Quoted(temp.path));
        return false;
    }
    const auto* next = static_cast<const uint8_t*>(bytes);
    for (size_t left = size; left > 0;) {
        const ssize_t n = write(temp.fd, next, left);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            if (n == 0) {
                errno = ENOSPC;
            }
            error = SystemError("cannot write " + Quoted(path));
            return false;
        }
        next += n;
        left -= static_cast<size_t>(n);
    }
    const int synced = fsync(temp.fd);
    const int closed = close(temp.fd);
    temp.fd = -1;
    if (synced != 0 || closed != 0) {
        error = SystemError("cannot write " + Quoted(path));
        return false;
    }
    bool published = false;
    bool linked = false;
    if (replace) {
        published = rename(temp.path.c_str(), path.c_str()) == 0;
    } else {
        // The name must still be free at the last moment. A file system without RENAME_NOREPLACE
        // still refuses a hard link over an existing name.
        published = renameat2(AT_FDCWD, temp.path.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0;
        if (!published && (errno == EINVAL || errno == ENOSYS)) {
            published = linked = link(temp.path.c_str(), path.c_str()) == 0;
        }
    }
    if (!published) {
        const bool taken = errno == EEXIST;
        if (alreadyExists != nullptr) {
            *alreadyExists = taken;
        }
        error = taken ? Quoted(path) + " already exists"
                      : SystemError("cannot put the new file at " + Quoted(path));
        return false;
    }
    if (!linked) {
        temp.path.clear();  // the name is the target's now; after a link the guard drops the extra name
    }
    SyncFolder(slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash));
    return true;
}

bool StringToFile(const std::string& path, const std::string& text, unsigned mode) {
    std::string ignored;
    return WriteFileAtomic(path, text.data(), text.size(), mode, true, ignored);
}

const char* ReadWholeFile(const std::string& path, std::string& out, size_t maxBytes) {
    out.clear();
    // O_NONBLOCK: opening a FIFO without a writer must not hang the host; it is refused below.
    const CFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file.fd < 0) {
        return "cannot be opened";
    }
    struct stat info {};
    if (fstat(file.fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        return "not a regular file";
    }
    if (static_cast<uint64_t>(info.st_size) > maxBytes) {
        return "larger than allowed";
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
            return "cannot be read";
        }
        if (n == 0) {
            return nullptr;
        }
        // The file may have grown since fstat.
        if (static_cast<size_t>(n) > maxBytes - out.size()) {
            out.clear();
            return "larger than allowed";
        }
        out.append(chunk, static_cast<size_t>(n));
    }
}

bool FileToString(const std::string& path, std::string& out, size_t maxBytes) {
    return ReadWholeFile(path, out, maxBytes) == nullptr;
}

bool IsRegularFile(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace ca
