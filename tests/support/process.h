/// \file
/// Runs programs for tests, on pipes or on a new terminal. No function waits longer than 30 s.

#ifndef TESTS_SUPPORT_PROCESS_H_
#define TESTS_SUPPORT_PROCESS_H_

#include <sys/types.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tests {

using Command = std::vector<std::string>;
using Environment = std::vector<std::pair<std::string, std::string>>;

template <typename Item>
std::vector<Item> operator+(std::vector<Item> list, const std::vector<Item>& more) {
  list.insert(list.end(), more.begin(), more.end());
  return list;
}

struct ProcessResult {
  int exit_code = -1;  ///< 128 + N after signal N
  std::string out;     ///< on a terminal, everything shown
  std::string err;
};

/// A child process. The destructor kills its process group.
class Process {
 public:
  enum class On { kPipes, kTerminal };

  explicit Process(const Command& command, const Environment& environment = {}, On on = On::kPipes);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Sends a signal.
  void Kill(int signal) const;
  /// Types on the terminal.
  void Type(const std::string& text) const;
  /// Waits until standard output contains `text`.
  /// \return false when the output has ended or after the timeout.
  bool WaitForOutput(const std::string& text);
  /// The standard output read by the last wait.
  const std::string& out() const { return result_.out; }
  /// Waits for the exit. After the timeout the test fails and the process is killed.
  ProcessResult Wait();

 private:
  bool ReadMore(long deadline_ms);

  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  ProcessResult result_;
};

/// Waits until a condition holds.
/// \return whether it does, after the timeout at the latest.
bool WaitUntil(const std::function<bool()>& condition, int timeout_s = 30);

/// Runs a program on pipes and waits for its exit.
ProcessResult RunProgram(const Command& command, const Environment& environment = {});

}  // namespace tests

#endif  // TESTS_SUPPORT_PROCESS_H_
