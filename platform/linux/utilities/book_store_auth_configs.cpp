#include "saltmoor/utilities/book_store_auth_configs.h"

#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/linux/common/catch_at_boundary.h"
#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"

namespace saltmoor::utilities {

void BookStoreAuthConfigs::logOut() {
  platform::CatchAtBoundary([] {
    constexpr char kPath[] = "/mnt/ext1/system/config/bookstore_auth.cfg";
    if (unlink(kPath) == 0 || errno == ENOENT) return;
    const auto error = platform::Error::System(errno, std::string("cannot delete ") + kPath);
    platform::Log(platform::LogLevel::kError, error.message());
  });
}

}  // namespace saltmoor::utilities
