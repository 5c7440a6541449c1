#ifndef DEVICE_LAUNCHER_OPTIONS_H_
#define DEVICE_LAUNCHER_OPTIONS_H_

#include <stdexcept>
#include <string>
#include <vector>

namespace launcher {

inline constexpr int kExitBadSetup = 2;
inline constexpr int kExitNotExecutable = 126;
inline constexpr int kExitNotFound = 127;
inline constexpr int kExitSignalBase = 128;  ///< plus the number of the signal that ended a process

/// Ends the launcher with a message for the user.
struct LaunchError : std::runtime_error {
  explicit LaunchError(const std::string& message, int code = kExitBadSetup)
      : std::runtime_error(message), exit_code(code) {}
  const int exit_code;
};

using Command = std::vector<std::string>;  ///< a program and its arguments

/// What the command line says, else the environment. A string is empty if neither names a value.
struct Options {
  std::string device;
  std::string build;
  std::string sandbox;
  std::string browser;
  bool scanner = true;
  std::vector<std::string> shared_paths;
  Command program;
  std::string notice;  ///< what --help or --version prints; nothing runs then
};

/// Throws LaunchError.
Options ParseOptions(const std::vector<std::string>& arguments);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_OPTIONS_H_
