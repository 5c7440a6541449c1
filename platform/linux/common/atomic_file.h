/// \file
/// Whole files: reading them, and replacing them atomically.

#ifndef PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_
#define PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_

#include <functional>
#include <string>
#include <string_view>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Replaces the content of the file at `path`, mode 0600. After a crash or a power failure the file
/// has the complete old content or the complete new content, after a failure the old one. Any
/// number of threads and processes may write the same file; the last one wins.
Error ReplaceFile(const std::string& path, std::string_view content);

/// Like ReplaceFile, but fails with EEXIST if the file exists.
Error CreateFile(const std::string& path, std::string_view content);

/// Renames a damaged file to PATH.bad, in place of an older one of that name, and logs it. Does
/// nothing if `check`, called under the directory's lock, finds the file intact or missing: another
/// process has replaced it.
Error MoveAside(const std::string& path, const std::function<Error()>& check);

/// Reads a regular file. A file larger than `max_bytes` is an error.
Error ReadFile(const std::string& path, std::size_t max_bytes, std::string* content);

/// Writes all of `content` to an open file. `path` is for the error's message.
Error WriteAll(int fd, std::string_view content, const std::string& path);

/// Syncs a renaming to the disk, if the file system can sync the directory.
Error SyncDirectory(int directory_fd, const std::string& path);

/// The directory part of a path; "." if it has none.
std::string DirectoryOf(const std::string& path);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_
