#ifndef DEVICE_LAUNCHER_SANDBOX_H_
#define DEVICE_LAUNCHER_SANDBOX_H_

#include <string>
#include <vector>

#include "device.h"
#include "options.h"

namespace launcher {

/// What makes up the file system that a program on the device sees.
struct FileSystem {
  std::string device;  ///< the directory that holds ext1, ebrmain and tmp
  std::vector<std::string>
      visible;  ///< of the host, although the device's directories would hide it
};

/// \param program the absolute path of the program to run.
/// Throws Failure.
FileSystem ComposeFileSystem(const Options& options, const Programs& programs,
                             const std::string& device, const std::string& program);

/// What runs the command that is appended to it on that file system, in a process namespace.
Command BwrapCommand(const FileSystem& files);

/// The same without namespaces. Makes the directories that proot needs, and sets $PROOT_TMP_DIR for
/// it. Throws Failure.
Command ProotCommand(const FileSystem& files);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_SANDBOX_H_
