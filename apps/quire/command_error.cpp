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

}  // namespace

CommandError ToCommandError(const std::string& what, const Failure& failure,
                            const std::string& advice) {
  return {ExitCodeOf(failure.kind), ExplainFailure(what, failure, advice)};
}

}  // namespace app
