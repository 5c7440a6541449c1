#ifndef DEVICE_LAUNCHER_SUPERVISOR_H_
#define DEVICE_LAUNCHER_SUPERVISOR_H_

#include <string>

#include "init.h"
#include "options.h"

namespace launcher {

struct SandboxRun {
  bool began = false;  ///< false: the sandbox failed before the program started
  int exit_code = -1;  ///< the program's; 128 + N after a death by signal N
  std::string error;   ///< what the sandbox wrote to standard error before the program started
};

/// Signals that come from now on are kept for the program. Orphans below this process become its
/// children.
void PrepareToSupervise();

/// Starts the init by the command `sandbox`, passes signals on to the program, and returns when
/// nothing of it runs any more. Should this process be killed, the same happens.
/// The signals that the terminal sends are not passed on, as they reach the program anyway.
SandboxRun RunInSandbox(const Command& sandbox, const std::string& launcher,
                        const InitOptions& init);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_SUPERVISOR_H_
