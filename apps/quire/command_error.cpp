#include "command_error.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "saltmoor/utilities/http_request_runner.h"

namespace app {
namespace {

using saltmoor::quire::Failure;
using saltmoor::utilities::HttpRequestRunner;

struct KindMessage {
  Failure::Kind kind;
  ExitCode exit_code;
  const char* reason;
  const char* advice;
};

constexpr KindMessage kKindMessages[] = {
    {Failure::kNone, kFailed, "the command failed for an unknown reason", "Try again later."},
    {Failure::kConfigFile, kDevice, "the device's configuration file cannot be opened",
     "On a PC, run quire through the launcher, as in \"quire-device quire shop\"; on a device, "
     "check the file's permissions."},
    {Failure::kNoCredentials, kNotLoggedIn, "no user and password are stored",
     "Log in with \"quire login\"."},
    {Failure::kNetwork, kUnreachable, "the server cannot be reached",
     "Check the network and try again."},
    {Failure::kHttpStatus, kUnreachable, "", "Try again later."},
    {Failure::kUnreadableResponse, kUnreachable, "the server's answer is unreadable",
     "Try again later."},
    {Failure::kRefused, kFailed, "the shop refused", ""},
    {Failure::kNoPaymentPage, kFailed, "the shop named no payment page", "Try again later."},
    {Failure::kBrowser, kDevice, "the device's browser could not be run",
     "Check that it is installed."},
    {Failure::kPaymentFailed, kFailed, "the payment was cancelled or failed", ""},
    {Failure::kNoPendingOrder, kNotFound, "no payment was started in this session",
     "\"quire books\" shows whether an earlier one succeeded."},
    {Failure::kDownload, kFailed, "the download failed", "Try again later."},
    {Failure::kNotABook, kFailed, "the shop sent something that is not a book",
     "Try again later."}};

constexpr std::pair<int, const char*> kTransportErrors[] = {
    {HttpRequestRunner::kNameNotFound, "its name was not found"},
    {HttpRequestRunner::kConnectionRefused, "the connection was refused"},
    {HttpRequestRunner::kAnswerTooLarge, "its answer is too large"},
    {HttpRequestRunner::kTimedOut, "it took too long to answer"},
    {HttpRequestRunner::kTlsFailed, "no secure connection could be made"},
    {HttpRequestRunner::kConnectionLost, "the connection was lost"},
    {HttpRequestRunner::kCertificateNotTrusted, "its certificate is not trusted"}};

const KindMessage& FindKindMessage(Failure::Kind kind) {
  const auto* const found = std::find_if(std::begin(kKindMessages), std::end(kKindMessages),
                                         [&](const auto& each) { return each.kind == kind; });
  return found == std::end(kKindMessages) ? *kKindMessages : *found;
}

std::string DescribeTransportError(int error) {
  for (const auto& [number, reason] : kTransportErrors) {
    if (number == error) return reason;
  }
  return "error " + std::to_string(error);
}

}  // namespace

std::string DescribeFailure(const Failure& failure) {
  if (failure.http_status >= 400 || failure.kind == Failure::kHttpStatus) {
    return "the server answered HTTP " + std::to_string(failure.http_status);
  }
  std::string reason = FindKindMessage(failure.kind).reason;
  if (failure.kind == Failure::kNetwork) {
    return reason + " (" + DescribeTransportError(failure.transport_error) + ")";
  }
  if (failure.message.empty()) return reason;
  if (failure.kind == Failure::kRefused) return "\"" + failure.message + "\"";
  return failure.kind == Failure::kDownload ? failure.message : reason;
}

CommandError ToCommandError(const std::string& what, const Failure& failure,
                            const std::string& advice) {
  const KindMessage& kind_message = FindKindMessage(failure.kind);
  std::string text = what + ": " + DescribeFailure(failure);
  if (!text.ends_with('"')) text += ".";
  const std::string next = advice.empty() ? kind_message.advice : advice;
  if (!next.empty()) text += " " + next;
  return {kind_message.exit_code, text};
}

}  // namespace app
