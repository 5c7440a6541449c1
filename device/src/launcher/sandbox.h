#ifndef DEVICE_LAUNCHER_SANDBOX_H_
#define DEVICE_LAUNCHER_SANDBOX_H_

#include <string>
#include <vector>

#include "device.h"
#include "options.h"

namespace launcher {

/// The paths of the host that a program needs and that the device's directories would hide.
/// Throws LaunchError.
/// \param program  the absolute path of the program to run.
std::vector<std::string> FindVisiblePaths(const Options& options, const Programs& programs,
                                          const std::string& program);

/// The bwrap command that runs what is appended to it on the device, in a process namespace.
/// \param device  the device's directory.
Command BuildBwrapCommand(const std::string& device, const std::vector<std::string>& visible);

/// The proot command that does so without namespaces. Creates the directories that proot needs and
/// sets $PROOT_TMP_DIR. Throws LaunchError.
Command BuildProotCommand(const std::string& device, const std::vector<std::string>& visible);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_SANDBOX_H_
