/// \file
/// The supervisor, which starts the sandbox, and the functions that it shares with the init.

#ifndef DEVICE_LAUNCHER_PROCESS_H_
#define DEVICE_LAUNCHER_PROCESS_H_

#include <signal.h>
#include <sys/types.h>

#include <string>

#include "init.h"
#include "options.h"

namespace launcher {

struct SandboxRun {
  bool started = false;  ///< whether the sandbox could run
  int exit_code = -1;    ///< the program's; 128 + N if signal N killed it
  std::string error;     ///< what the sandbox itself wrote to standard error
};

/// Blocks the signals that are forwarded, so that none is lost before the program runs, and makes
/// orphaned descendants children of this process.
void BlockSignalsAndAdoptOrphans();

/// Runs the init in a sandbox, forwards signals to the program, and returns when the program and
/// all its descendants have exited. They are also killed if this process is killed. Signals from
/// the terminal are not forwarded, since they reach the program anyway.
/// \param command  the sandbox program with its arguments, and the path of this program.
SandboxRun RunInSandbox(const Command& command, const InitOptions& init);

/// The signals that are forwarded to the program.
sigset_t ForwardedSignals();

inline constexpr pid_t kNoProcess = -1;

/// \return a descriptor of the process, which the caller closes; -1 if it does not exist.
int OpenPidfd(pid_t process);

/// Kills all children but one, adopted orphans included, and waits until they have exited.
void KillChildrenExcept(pid_t survivor);

/// \param status  as wait returns it.
/// \return as a shell reports it: 128 + N if signal N killed the process.
int ToExitCode(int status);

/// Sends a value over a stream socket. Does nothing if the other side has closed it.
void Send(int socket, int value);

/// \param flags  those of recv.
/// \return false at the end of the stream, or if there is no value and `flags` hold MSG_DONTWAIT.
bool Receive(int socket, int* value, int flags = 0);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_PROCESS_H_
