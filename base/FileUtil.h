#pragma once

#include <cstddef>
#include <string>

namespace ca {

// kMaxTextFileBytes bounds what FileToString reads: configuration files are small, and a huge or
// endless file must not exhaust the host's memory.
constexpr size_t kMaxTextFileBytes = size_t{16} << 20;

// TryCreateDir creates path and its missing parents (new folders get mode, less the umask). True
// when path is a directory afterwards, also when it existed already.
bool TryCreateDir(const std::string& path, unsigned mode = 0700);

// kMaxTempNameTries bounds how many temporary names WriteFileAtomic draws before it gives up.
constexpr int kMaxTempNameTries = 64;

// WriteFileAtomic puts size bytes at path so that path holds either its old content or all of the
// new one, whenever the process dies. The bytes go to a new temporary file ".NAME.XXXXXX" in
// path's folder (created with mode less the umask), which is synced and renamed over path; the
// folder is synced after. A replaced regular file keeps its permission bits, but never more than
// mode. Refused without opening it: an existing path that is a FIFO, device, socket or folder;
// with replace false, any existing path (alreadyExists, when given, is then set). A symbolic link
// at path is replaced by the new file and what it pointed to stays untouched; a link that leads to
// nothing or to no regular file is refused, so nothing is ever written through a link. On failure
// the temporary file is removed, path is left as it was, and error says why (in English).
bool WriteFileAtomic(const std::string& path, const void* bytes, size_t size, unsigned mode, bool replace,
                     std::string& error, bool* alreadyExists = nullptr);

// StringToFile creates or replaces path with text through WriteFileAtomic (a new file gets mode,
// less the umask). False when the file cannot be written completely; path is then unchanged.
bool StringToFile(const std::string& path, const std::string& text, unsigned mode = 0644);

// FileToString reads the whole regular file at path into out. Refuses, without blocking, anything
// that is no regular file (a FIFO, a device), and files larger than maxBytes. False on failure,
// with out emptied.
bool FileToString(const std::string& path, std::string& out, size_t maxBytes = kMaxTextFileBytes);

// ReadWholeFile is FileToString that says why it failed: null on success, else a short English
// reason ("not a regular file", "larger than allowed", ...).
const char* ReadWholeFile(const std::string& path, std::string& out, size_t maxBytes);

// IsRegularFile tells whether path names an existing regular file (symbolic links followed).
bool IsRegularFile(const std::string& path);

}  // namespace ca
