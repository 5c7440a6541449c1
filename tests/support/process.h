/// \file
/// Runs a program for a test, on pipes or on a terminal of its own. No wait lasts longer than 30 s.

#ifndef TESTS_SUPPORT_PROCESS_H_
#define TESTS_SUPPORT_PROCESS_H_

#include <sys/types.h>

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

struct Finished {
  int exit_code = -1;  ///< 128 + N for a death by signal N, as a shell has it
  std::string out;     ///< on a terminal, all that was shown
  std::string err;
};

/// Killed, with all of its group, when a test lets go of it.
class Process {
 public:
  enum class On { kPipes, kTerminal };

  explicit Process(const Command& command, const Environment& environment = {}, On on = On::kPipes);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void Kill(int signal) const;
  /// Types on its terminal.
  void Type(const std::string& text) const;
  /// Waits until standard output has that text; false when it ended, or too long has passed.
  bool WaitForOutput(const std::string& text);
  /// What standard output had when it was last waited for.
  const std::string& out() const { return finished_.out; }
  Finished Wait();

 private:
  bool ReadMore(long deadline_ms);

  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  Finished finished_;
};

Finished RunProgram(const Command& command, const Environment& environment = {});

}  // namespace tests

#endif  // TESTS_SUPPORT_PROCESS_H_
