#include "platform/linux/common/directory_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace saltmoor::platform {

DirectoryLock::DirectoryLock(const std::string& path)
    : directory_(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!directory_) return;
  int status;
  do {
    status = flock(directory_.get(), LOCK_EX);
  } while (status != 0 && errno == EINTR);
  held_ = status == 0;
}

}  // namespace saltmoor::platform
