#include "platform/linux/common/move_aside.h"

#include <cerrno>
#include <cstdio>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/directory_lock.h"
#include "platform/linux/common/log.h"

namespace saltmoor::platform {

Error MoveAside(const std::string& path, const std::function<Error()>& check) {
  const DirectoryLock lock(DirectoryOf(path));
  const Error fault = check();
  if (!fault || fault.IsSystem(ENOENT)) return {};
  const std::string aside = path + ".bad";
  if (std::rename(path.c_str(), aside.c_str()) != 0) {
    return Error::System(errno, fault.message() + "; cannot move it to " + aside);
  }
  Log(LogLevel::kError, fault.message() + "; moved to " + aside);
  return {};
}

}  // namespace saltmoor::platform
