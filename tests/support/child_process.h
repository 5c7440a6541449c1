#ifndef TESTS_SUPPORT_CHILD_PROCESS_H_
#define TESTS_SUPPORT_CHILD_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace tests {

/// A program that runs beside a test, read line by line, and ended when the test ends.
class ChildProcess {
 public:
  /// \param command  program and arguments. Throws std::runtime_error where it cannot be started.
  explicit ChildProcess(const std::vector<std::string>& command);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  /// The next line of its standard output. Throws std::runtime_error at the end of the output and
  /// when none comes in time.
  std::string ReadLine(std::chrono::seconds limit = std::chrono::seconds(20));

  /// Asks it to end and waits. The wait status, as waitpid gives it.
  int Terminate();

  pid_t pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
  int output_ = -1;
  std::string buffer_;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_CHILD_PROCESS_H_
