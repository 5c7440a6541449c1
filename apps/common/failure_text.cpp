#include "failure_text.h"

#include <system_error>
#include <utility>

#include "saltmoor/utilities/http_request_runner.h"

namespace app {
namespace {

using saltmoor::quire::Failure;
using saltmoor::utilities::HttpRequestRunner;

constexpr std::pair<int, const char*> kTransportErrors[] = {
    {HttpRequestRunner::kNameNotFound, "its name was not found"},
    {HttpRequestRunner::kConnectionRefused, "the connection was refused"},
    {HttpRequestRunner::kAnswerTooLarge, "its answer is too large"},
    {HttpRequestRunner::kTimedOut, "it took too long to answer"},
    {HttpRequestRunner::kTlsFailed, "no secure connection could be established"},
    {HttpRequestRunner::kConnectionLost, "the connection was lost"},
    {HttpRequestRunner::kCertificateNotTrusted, "its certificate is not trusted"}};

std::string DescribeTransportError(int error) {
  for (const auto& [number, reason] : kTransportErrors) {
    if (number == error) return reason;
  }
  return "error " + std::to_string(error);
}

std::string Reason(Failure::Kind kind) {
  switch (kind) {
    case Failure::kNone:
    case Failure::kHttpStatus:
      break;  // DescribeFailure names the status
    case Failure::kConfigFile:
      return "the device's configuration file cannot be opened";
    case Failure::kNoCredentials:
      return "no user and password are stored";
    case Failure::kNetwork:
      return "the server cannot be reached";
    case Failure::kUnreadableResponse:
      return "the server's answer is unreadable";
    case Failure::kRefused:
      return "the shop refused";
    case Failure::kNoPaymentPage:
      return "the shop named no payment page";
    case Failure::kBrowser:
      return "the device's browser could not be run";
    case Failure::kPaymentFailed:
      return "the payment was cancelled or failed";
    case Failure::kNoPendingOrder:
      return "no payment was started in this session";
    case Failure::kDownload:
      return "the download failed";
    case Failure::kNotABook:
      return "the shop sent something that is not a book";
    case Failure::kNotSaved:
      return "a file of the device could not be saved";
  }
  return "the command failed for an unknown reason";
}

}  // namespace

std::string DescribeFailure(const Failure& failure) {
  if (failure.http_status >= 400 || failure.kind == Failure::kHttpStatus) {
    return "the server answered HTTP " + std::to_string(failure.http_status);
  }
  if (failure.kind == Failure::kNetwork) {
    return Reason(failure.kind) + " (" + DescribeTransportError(failure.transport_error) + ")";
  }
  if (!failure.message.empty() && failure.kind == Failure::kRefused) {
    return "\"" + failure.message + "\"";
  }
  if (!failure.message.empty() && failure.kind == Failure::kDownload) return failure.message;
  if (failure.kind == Failure::kNotSaved && !failure.path.empty()) {
    const std::string reason =
        failure.system_error != 0
            ? " (" + std::generic_category().message(failure.system_error) + ")"
            : "";
    return failure.path + " could not be saved" + reason;
  }
  return Reason(failure.kind);
}

std::string ExplainFailure(const std::string& what, const Failure& failure,
                           const std::string& advice) {
  std::string text = what + ": " + DescribeFailure(failure);
  if (!text.ends_with('"')) text += ".";
  return advice.empty() ? text : text + " " + advice;
}

}  // namespace app
