/// \file
/// Runs a program for a test: with a deadline, on pipes or on a terminal of its own.

#ifndef TESTS_DEVICE_PROCESS_H_
#define TESTS_DEVICE_PROCESS_H_

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

using Environment = std::vector<std::pair<std::string, std::string>>;

struct Finished {
  int exit_code = -1;  ///< 128 + N for a death by signal N, as a shell has it
  std::string out;     ///< on a terminal, all that was shown
  std::string err;
};

/// Ended, with all of its group, when a test lets go of it.
class Process {
 public:
  enum class On { kPipes, kTerminal };

  explicit Process(const std::vector<std::string>& command, const Environment& environment = {},
                   On on = On::kPipes);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t pid() const { return pid_; }
  void Kill(int signal) const;
  /// Types on its terminal.
  void Type(const std::string& text) const;
  /// Waits until standard output has that text; false when it ended, or too long has passed.
  bool WaitForOutput(const std::string& text);
  Finished Wait();

 private:
  bool ReadMore();

  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  long deadline_ms_ = 0;
  Finished finished_;
};

Finished RunProgram(const std::vector<std::string>& command, const Environment& environment = {});

/// A folder that is removed with its content. Its name has a space and an umlaut.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void WriteFile(const std::string& path, const std::string& content);
std::string ReadFile(const std::string& path);

#endif  // TESTS_DEVICE_PROCESS_H_
