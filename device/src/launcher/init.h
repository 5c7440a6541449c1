#ifndef DEVICE_LAUNCHER_INIT_H_
#define DEVICE_LAUNCHER_INIT_H_

#include "options.h"

namespace launcher {

/// What the supervisor starts inside the sandbox: this program again, as the device's init.
///
/// Over a socket they exchange ints. The init sends its process id when it has come up, waits for
/// kStartProgram, and at last sends the program's exit code. The supervisor sends the number of
/// each signal that the program is to get. The end of the stream says that the supervisor is gone:
/// then the init ends with all that runs below it.
struct InitOptions {
  bool traced = false;   ///< proot serves the file system, and there is no process namespace
  bool scanner = false;  ///< the scanner runs beside the program
  int channel_fd = -1;
  int stderr_fd = -1;  ///< what the program gets as standard error
  Command program;

  Command Serialize() const;
  static InitOptions Parse(const Command& arguments);
};

inline constexpr char kInitVerb[] = "--inside";
inline constexpr int kStartProgram = 0;

/// Runs the program and returns its exit code.
int RunInit(const InitOptions& options);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_INIT_H_
