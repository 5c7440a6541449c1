#ifndef PLATFORM_LINUX_TABULET_RESOURCES_H_
#define PLATFORM_LINUX_TABULET_RESOURCES_H_

#include <string>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Reads a resource file: the device's own, /ebrmain/DIRECTORY/NAME, otherwise the one installed
/// with this library.
/// \return ENOENT if there is none or `name` is not a plain file name.
Error ReadResource(const std::string& directory, const std::string& name, std::string* content);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_RESOURCES_H_
