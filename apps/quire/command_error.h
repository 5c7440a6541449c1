#ifndef QUIRE_APP_COMMAND_ERROR_H_
#define QUIRE_APP_COMMAND_ERROR_H_

#include <stdexcept>
#include <string>

namespace app {

/// What the process tells its caller. Scripts rely on the numbers.
enum ExitCode {
  kOk = 0,
  kFailed = 1,       ///< the shop refused, or it did not work
  kUsage = 2,        ///< the command line is wrong
  kNotLoggedIn = 3,  ///< a log-in is needed first
  kUnreachable = 4,  ///< no network, or the shop does not answer
  kNotFound = 5,     ///< there is nothing of that kind
  kDevice = 6,       ///< a folder, file or program of the device is missing or broken
  kInterrupted = 130,
};

/// Ends a command. The text is for the user: what happened, and what to do next.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitCode exit_code, const std::string& text)
      : std::runtime_error(text), code(exit_code) {}

  ExitCode code;
};

}  // namespace app

#endif  // QUIRE_APP_COMMAND_ERROR_H_
