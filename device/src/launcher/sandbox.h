#ifndef DEVICE_LAUNCHER_SANDBOX_H_
#define DEVICE_LAUNCHER_SANDBOX_H_

#include <string>
#include <vector>

#include "device.h"
#include "options.h"

namespace launcher {

/// The host's paths that a program on the device must see although the device's directories would
/// hide them. \param program the absolute path of the program to run.
/// Throws LaunchError.
std::vector<std::string> FindVisiblePaths(const Options& options, const Programs& programs,
                                          const std::string& program);

/// What runs the command that is appended to it on the file system in the directory `device`, in a
/// process namespace.
Command BuildBwrapCommand(const std::string& device, const std::vector<std::string>& visible);

/// The same without namespaces. Makes the directories that proot needs, and sets $PROOT_TMP_DIR for
/// it. Throws LaunchError.
Command BuildProotCommand(const std::string& device, const std::vector<std::string>& visible);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_SANDBOX_H_
