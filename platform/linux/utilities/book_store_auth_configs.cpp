#include "saltmoor/utilities/book_store_auth_configs.h"

#include <unistd.h>

#include <cerrno>
#include <exception>
#include <string>

#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"

namespace saltmoor::utilities {
namespace {

constexpr char kRecord[] = "/mnt/ext1/system/config/bookstore_auth.cfg";

}  // namespace

void BookStoreAuthConfigs::logOut() try {
  if (unlink(kRecord) == 0 || errno == ENOENT) return;
  using platform::Error;
  platform::Log(platform::LogLevel::kError,
                Error::System(errno, std::string("cannot delete ") + kRecord).message());
} catch (const std::exception&) {  // no memory even for the log
}

}  // namespace saltmoor::utilities
