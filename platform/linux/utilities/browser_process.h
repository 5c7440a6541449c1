#ifndef PLATFORM_LINUX_UTILITIES_BROWSER_PROCESS_H_
#define PLATFORM_LINUX_UTILITIES_BROWSER_PROCESS_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/linux/common/error.h"
#include "platform/linux/common/unique_fd.h"
#include "platform/linux/utilities/foreground_terminal.h"

namespace saltmoor::platform {

/// A running browser program. It has a process group of its own, in the foreground of the terminal
/// if there is one, and its standard output is read line by line. The destructor kills the whole
/// group. Exception: if the group of this process is outside its PID namespace, the program stays
/// in that group, and only the program itself is killed. Not thread-safe.
class BrowserProcess {
 public:
  BrowserProcess() = default;
  ~BrowserProcess();
  BrowserProcess(const BrowserProcess&) = delete;
  BrowserProcess& operator=(const BrowserProcess&) = delete;

  /// Runs the program at the path `program`, without a shell.
  Error Start(const std::string& program, const std::vector<std::string>& args);

  /// Returns the complete lines of the output since the last call, without line feeds. Waits for
  /// output at most `wait_ms` milliseconds. Lines longer than 64 KiB are dropped.
  std::vector<std::string> ReadLines(int wait_ms);

  /// Whether the program has exited. If so, kills what is left of its process group.
  bool HasExited();
  /// A description of the exit for the log; empty for exit code 0.
  const std::string& failure() const { return failure_; }

  /// Terminates the program: with SIGTERM, and after two seconds with SIGKILL.
  void Terminate();

  /// The process group of the program; its process if it has no group; 0 before Start.
  pid_t group() const { return pid_; }

 private:
  void Signal(int signal) const;
  void SplitLines(const char* bytes, std::size_t size, std::vector<std::string>* lines);

  ForegroundTerminal terminal_;
  UniqueFd output_;
  pid_t pid_ = 0;
  bool exited_ = false;
  std::string failure_;
  std::string line_;  // incomplete
  bool line_too_long_ = false;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_UTILITIES_BROWSER_PROCESS_H_
