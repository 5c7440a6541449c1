/// \file
/// The init of a device, which the sandbox starts.

#ifndef DEVICE_LAUNCHER_INIT_H_
#define DEVICE_LAUNCHER_INIT_H_

#include "options.h"

namespace launcher {

/// How the sandbox runs this program a second time, as the device's init.
///
/// The supervisor and the init exchange ints over a socket. The init sends its process id when it
/// runs, waits for kStartProgram, and finally sends the program's exit code. The supervisor sends
/// the number of each signal that it forwards. When the stream ends, the supervisor has exited, and
/// the init kills all processes on the device and exits.
struct InitOptions {
  bool under_proot = false;  ///< there is no process namespace, and proot translates paths
  bool scanner = false;      ///< run the scanner, too
  int channel_fd = -1;
  int stderr_fd = -1;  ///< the program's standard error
  Command program;

  /// The arguments of this program.
  Command Serialize() const;
};

inline constexpr char kInitOption[] = "--inside";
inline constexpr int kStartProgram = 0;

/// Runs the program that the serialized options name, and returns its exit code.
int RunInit(const Command& arguments);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_INIT_H_
