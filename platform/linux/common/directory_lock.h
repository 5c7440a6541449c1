#ifndef PLATFORM_LINUX_COMMON_DIRECTORY_LOCK_H_
#define PLATFORM_LINUX_COMMON_DIRECTORY_LOCK_H_

#include <string>

#include "platform/linux/common/unique_fd.h"

namespace saltmoor::platform {

/// An exclusive lock, among threads and processes, on replacing files in a directory. The directory
/// itself is locked, because a file in it may be replaced. Not recursive.
class DirectoryLock {
 public:
  explicit DirectoryLock(const std::string& path);

  /// False if the file system cannot lock directories or the directory does not exist.
  bool held() const { return held_; }
  /// The open directory; empty if it cannot be opened.
  const UniqueFd& directory() const { return directory_; }

 private:
  UniqueFd directory_;
  bool held_ = false;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_DIRECTORY_LOCK_H_
