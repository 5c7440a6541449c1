#ifndef PLATFORM_LINUX_UTILITIES_BROWSER_PROCESS_H_
#define PLATFORM_LINUX_UTILITIES_BROWSER_PROCESS_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/linux/common/error.h"
#include "platform/linux/common/unique_fd.h"
#include "platform/linux/utilities/foreground_terminal.h"

namespace saltmoor::platform {

/// A browser program: it runs in a process group of its own, with the terminal where there is one,
/// and its standard output is read line by line. Nothing of the group outlives the object. (Where
/// the terminal cannot be lent the program stays in our group, and only it is ended.)
class BrowserProcess {
 public:
  BrowserProcess() = default;
  ~BrowserProcess();
  BrowserProcess(const BrowserProcess&) = delete;
  BrowserProcess& operator=(const BrowserProcess&) = delete;

  /// Starts `program`, a path; no shell is involved.
  Error Start(const std::string& program, const std::vector<std::string>& args);

  /// The lines printed since the last call, without their ends. Waits for output at most `wait_ms`.
  /// A line longer than any address is left out, and so is a last one that was never finished.
  std::vector<std::string> ReadLines(int wait_ms);

  /// Whether the program has ended. What it started and left behind is ended with it.
  bool HasExited();
  /// How it ended, once it has: empty for exit code 0, else words for the log.
  const std::string& failure() const { return failure_; }

  /// Asks the program to end, and after two seconds makes it.
  void Terminate();

  /// Its process group, the program itself where it has none; 0 before Start.
  pid_t group() const { return pid_; }

 private:
  void Signal(int signal) const;  // to the program's group
  void SplitLines(const char* bytes, std::size_t size, std::vector<std::string>* lines);

  ForegroundTerminal terminal_;
  UniqueFd output_;
  pid_t pid_ = 0;
  bool exited_ = false;
  std::string failure_;
  std::string line_;  // the beginning of one
  bool line_too_long_ = false;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_UTILITIES_BROWSER_PROCESS_H_
