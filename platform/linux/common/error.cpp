#include "platform/linux/common/error.h"

#include <system_error>

namespace saltmoor::platform {

Error Error::System(int error_number, const std::string& what) {
  return {Kind::kSystem, error_number, what + ": " + std::generic_category().message(error_number)};
}

}  // namespace saltmoor::platform
