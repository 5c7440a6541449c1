/// \file
/// The launcher's two processes: the supervisor, which starts the sandbox, and the init, which the
/// sandbox starts; and what both use.

#ifndef DEVICE_LAUNCHER_PROCESS_H_
#define DEVICE_LAUNCHER_PROCESS_H_

#include <signal.h>
#include <sys/types.h>

#include <string>

#include "options.h"

namespace launcher {

/// What the supervisor starts inside the sandbox: this program again, as the device's init.
///
/// Over a socket they exchange ints. The init sends its process id when it has come up, waits for
/// kStartProgram, and at last sends the program's exit code. The supervisor sends the number of
/// each signal that the program is to get. The end of the stream says that the supervisor is gone:
/// then the init ends with all that runs below it.
struct InitOptions {
  bool under_proot = false;  ///< proot serves the file system, and there is no process namespace
  bool scanner = false;      ///< the scanner runs beside the program
  int channel_fd = -1;
  int stderr_fd = -1;  ///< what the program gets as standard error
  Command program;

  /// The arguments of this program.
  Command Serialize() const;
};

inline constexpr char kInitOption[] = "--inside";
inline constexpr int kStartProgram = 0;

/// Runs the program that the serialized options name, and returns its exit code.
int RunInit(const Command& arguments);

struct SandboxRun {
  bool started = false;  ///< false: the sandbox failed before the program started
  int exit_code = -1;    ///< the program's; 128 + N after a death by signal N
  std::string error;     ///< what the sandbox wrote to standard error before the program started
};

/// Signals that come from now on are kept for the program. Orphans below this process become its
/// children.
void BlockSignalsAndAdoptOrphans();

/// Starts the init by `command`, the sandbox and this program in it; passes signals on to the
/// program, and returns when nothing of it runs any more. Should this process be killed, the same
/// happens. The signals that the terminal sends are not passed on, as they reach the program
/// anyway.
SandboxRun RunInSandbox(const Command& command, const InitOptions& init);

/// The signals that the launcher passes on to the program.
sigset_t ForwardedSignals();

/// Kills all children, those that are inherited meanwhile too, and waits until they are gone.
/// \param survivor a child that stays.
void KillChildrenExcept(pid_t survivor = -1);

/// \param status as wait returns it.
/// \return as a shell has it: 128 + N for a death by signal N.
int ToExitCode(int status);

/// Sends a value over a stream socket whose other side may be gone.
void Send(int socket, int value);

/// \param flags as recv has them.
/// \return false at the end of the stream, or where nothing is there and `flags` forbid to wait.
bool Receive(int socket, int* value, int flags = 0);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_PROCESS_H_
