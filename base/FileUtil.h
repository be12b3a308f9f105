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

// StringToFile creates or truncates path (a new file gets mode, less the umask) and writes text.
// False when the file cannot be opened or written completely.
bool StringToFile(const std::string& path, const std::string& text, unsigned mode = 0644);

// FileToString reads the whole regular file at path into out. Refuses, without blocking, anything
// that is no regular file (a FIFO, a device), and files larger than maxBytes. False on failure,
// with out emptied.
bool FileToString(const std::string& path, std::string& out, size_t maxBytes = kMaxTextFileBytes);

// IsRegularFile tells whether path names an existing regular file (symbolic links followed).
bool IsRegularFile(const std::string& path);

}  // namespace ca
