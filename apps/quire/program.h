#ifndef QUIRE_APP_PROGRAM_H_
#define QUIRE_APP_PROGRAM_H_

#include <string>
#include <vector>

namespace app {

/// The exit code of RunProgram for a program that could not be started, as in a shell.
inline constexpr int kProgramNotFound = 127;

struct ProgramOptions {
  std::string input;              ///< its standard input; empty: that of the application
  std::string* output = nullptr;  ///< receives its standard output; null: the terminal has it
  bool is_limited = false;        ///< 1 GiB of memory and 5 s of processor time
};

/// Runs a program that is found as execvp does, and waits for its exit. Its standard error is that
/// of the application if it has the terminal, else nothing. Ctrl-C reaches it.
/// \return its exit code; 128 and the signal's number when a signal ended it.
int RunProgram(const std::vector<std::string>& command, const ProgramOptions& options = {});

}  // namespace app

#endif  // QUIRE_APP_PROGRAM_H_
