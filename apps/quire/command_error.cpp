#include "command_error.h"

#include "failure_text.h"

namespace app {
namespace {

using saltmoor::quire::Failure;

ExitCode ExitCodeOf(Failure::Kind kind) {
  switch (kind) {
    case Failure::kConfigFile:
    case Failure::kBrowser:
      return kDevice;
    case Failure::kNoCredentials:
      return kNotLoggedIn;
    case Failure::kNetwork:
    case Failure::kHttpStatus:
    case Failure::kUnreadableResponse:
      return kUnreachable;
    case Failure::kNotSaved:
      return kNotSaved;
    case Failure::kNoPendingOrder:
      return kNotFound;
    default:
      return kFailed;
  }
}

/// What to do after a failure of that kind.
std::string Advice(Failure::Kind kind) {
  switch (kind) {
    case Failure::kConfigFile:
      return "On a PC, run quire through the launcher, as in \"quire-device quire shop\"; on a "
             "device, check the file's permissions.";
    case Failure::kNoCredentials:
      return "Log in with \"quire login\".";
    case Failure::kNetwork:
      return "Check the network and try again.";
    case Failure::kBrowser:
      return "Check that it is installed.";
    case Failure::kNotSaved:
      return "Check that the disk is not full and that the file can be written.";
    case Failure::kNoPendingOrder:
      return "\"quire books\" shows whether an earlier one succeeded.";
    case Failure::kRefused:
    case Failure::kPaymentFailed:
      return "";
    default:
      return "Try again later.";
  }
}

}  // namespace

CommandError ToCommandError(const std::string& what, const Failure& failure,
                            const std::string& advice) {
  return {ExitCodeOf(failure.kind),
          ExplainFailure(what, failure, advice.empty() ? Advice(failure.kind) : advice)};
}

}  // namespace app
