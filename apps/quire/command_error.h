#ifndef QUIRE_APP_COMMAND_ERROR_H_
#define QUIRE_APP_COMMAND_ERROR_H_

#include <stdexcept>
#include <string>

#include "failure.h"

namespace app {

/// The exit status of the process. Scripts rely on the numbers.
enum ExitCode {
  kOk = 0,
  kFailed = 1,       ///< the shop refused, or the command failed
  kUsage = 2,        ///< the command line is wrong, or no password was given
  kNotLoggedIn = 3,  ///< the user has to log in first
  kUnreachable = 4,  ///< the shop does not answer, or not readably
  kNotFound = 5,     ///< nothing was found
  kDevice = 6,       ///< a file, directory or program of the device is missing or broken
  kNotSaved = 7,     ///< a file of the device could not be written
  kInterrupted = 130,
};

/// Ends a command. The text is for the user: what happened, to what, and what to do next. An empty
/// text means that everything has been printed.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitCode exit_code, const std::string& text)
      : std::runtime_error(text), code(exit_code) {}

  ExitCode code;
};

/// The error that ends a command after a failure, with the text of ExplainFailure.
/// \param advice  what to do next; empty: the usual advice for the kind of failure.
CommandError ToCommandError(const std::string& what, const saltmoor::quire::Failure& failure,
                            const std::string& advice = "");

}  // namespace app

#endif  // QUIRE_APP_COMMAND_ERROR_H_
