#ifndef PLATFORM_LINUX_COMMON_DIRECTORY_LOCK_H_
#define PLATFORM_LINUX_COMMON_DIRECTORY_LOCK_H_

#include <string>

#include "platform/linux/common/unique_fd.h"

namespace saltmoor::platform {

/// Keeps other threads and processes from replacing files in a folder, for as long as it lives.
/// The folder itself is locked: unlike a file in it, it is never replaced by another of its name.
/// One thread must not lock a folder twice.
class DirectoryLock {
 public:
  explicit DirectoryLock(const std::string& folder);

  /// False where the file system cannot lock folders, or there is no such folder.
  bool held() const { return held_; }
  /// The open folder; none when it cannot be opened.
  const UniqueFd& folder() const { return folder_; }

 private:
  UniqueFd folder_;
  bool held_ = false;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_DIRECTORY_LOCK_H_
