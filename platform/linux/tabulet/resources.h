#ifndef PLATFORM_LINUX_TABULET_RESOURCES_H_
#define PLATFORM_LINUX_TABULET_RESOURCES_H_

#include <string>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Reads a file that comes with the system: the device's own, /ebrmain/FOLDER/NAME, or else the one
/// that came with this library.
/// \return ENOENT when there is none, or `name` is not the bare name of a file.
Error ReadResource(const std::string& folder, const std::string& name, std::string* content);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_RESOURCES_H_
