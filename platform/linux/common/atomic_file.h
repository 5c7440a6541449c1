/// \file
/// Whole files: reading them, and replacing them atomically under a lock on their directory.

#ifndef PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_
#define PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include "platform/linux/common/error.h"
#include "platform/linux/common/unique_fd.h"

namespace saltmoor::platform {

/// An exclusive lock, among threads and processes, on replacing files in a directory. The directory
/// itself is locked, because a file in it may be replaced. Not recursive.
class DirectoryLock {
 public:
  /// Anyone who can open the directory can lock it, so no caller waits longer.
  static constexpr std::chrono::seconds kTimeout{5};

  explicit DirectoryLock(const std::string& path);

  /// False after the timeout, which is logged, or if the file system cannot lock directories.
  bool held() const { return held_; }
  /// Why the directory cannot be opened, if it cannot.
  const Error& error() const { return error_; }
  /// The open directory.
  const UniqueFd& directory() const { return directory_; }

 private:
  UniqueFd directory_;
  Error error_;
  bool held_ = false;
};

/// Replaces the content of the file at `path`, mode 0600. After a crash or a power failure the file
/// has the complete old content or the complete new content, after a failure the old one. Any
/// number of threads and processes may write the same file; the last one wins.
Error ReplaceFile(const std::string& path, std::string_view content);

/// Replaces the file at `path` like ReplaceFile, with content that depends on the old one: under
/// the lock, calls `load`, which reads the file, then `content`. If `load` returns kInvalidData,
/// the file is renamed to PATH.bad, in place of an older one of that name, and the damage is
/// logged. A missing file is not an error.
Error UpdateFile(const std::string& path, const std::function<Error()>& load,
                 const std::function<std::string()>& content);

/// Calls `load`, which reads the file at `path`. A damaged file is renamed as by UpdateFile. A
/// missing file is created with the content that `initial` returns, and loaded. Programs that call
/// this concurrently load the same file.
Error LoadOrCreateFile(const std::string& path, const std::function<Error()>& load,
                       const std::function<std::string_view()>& initial);

/// Reads a regular file. A file larger than `max_bytes` is an error.
Error ReadFile(const std::string& path, std::size_t max_bytes, std::string* content);

/// Writes all of `content` to an open file. `path` is for the error's message.
Error WriteAll(int fd, std::string_view content, const std::string& path);

/// Syncs a renaming to the disk, if the file system can sync the directory.
Error SyncDirectory(int directory_fd, const std::string& path);

/// The directory part of a path; "." if it has none.
std::string GetDirectoryName(const std::string& path);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_
