#include "platform/linux/common/directory_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace saltmoor::platform {

DirectoryLock::DirectoryLock(const std::string& folder)
    : folder_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!folder_) return;
  int status;
  do {
    status = flock(folder_.get(), LOCK_EX);
  } while (status != 0 && errno == EINTR);
  held_ = status == 0;
}

}  // namespace saltmoor::platform
