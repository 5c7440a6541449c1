#include "failure_message.h"

#include <algorithm>
#include <array>

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

constexpr KindMessage kUnknownKind{Failure::kNone, kFailed, "the shop's answer is incomplete",
                                   "Try again later."};
constexpr std::array kKindMessages{
    KindMessage{Failure::kConfigFile, kDevice,
                "the device's configuration file cannot be opened or written",
                "On a PC, run quire through the launcher, as in \"quire-device quire shop\"; on a "
                "device, check the file's permissions."},
    KindMessage{Failure::kNoCredentials, kNotLoggedIn, "no user and password are stored",
                "Log in with \"quire login\"."},
    KindMessage{Failure::kNetwork, kUnreachable, "the server cannot be reached",
                "Check the network and try again."},
    KindMessage{Failure::kHttpStatus, kUnreachable, "", "Try again later."},
    KindMessage{Failure::kUnreadableAnswer, kUnreachable, "the server's answer is unreadable",
                "Try again later."},
    KindMessage{Failure::kRefused, kFailed, "the shop refused", ""},
    KindMessage{Failure::kNoPaymentPage, kFailed, "the shop named no payment page",
                "Try again later."},
    KindMessage{Failure::kBrowser, kDevice, "the device's browser could not be run",
                "Check that it is installed."},
    KindMessage{Failure::kPaymentFailed, kFailed, "the payment was cancelled or failed", ""},
    KindMessage{Failure::kNoPendingOrder, kNotFound, "no payment was started in this session",
                "\"quire books\" shows whether an earlier one succeeded."},
    KindMessage{Failure::kDownload, kFailed, "the download failed", "Try again later."},
    KindMessage{Failure::kNotABook, kFailed, "the shop sent something that is not a book",
                "Try again later."}};

const KindMessage& FindKindMessage(Failure::Kind kind) {
  const auto* const found = std::find_if(kKindMessages.begin(), kKindMessages.end(),
                                         [&](const auto& each) { return each.kind == kind; });
  return found == kKindMessages.end() ? kUnknownKind : *found;
}

std::string DescribeTransportError(int error) {
  switch (error) {
    case HttpRequestRunner::kNameNotFound:
      return "its name was not found";
    case HttpRequestRunner::kConnectionRefused:
      return "the connection was refused";
    case HttpRequestRunner::kAnswerTooLarge:
      return "its answer is too large";
    case HttpRequestRunner::kTimedOut:
      return "it took too long to answer";
    case HttpRequestRunner::kTlsFailed:
      return "no secure connection could be made";
    case HttpRequestRunner::kConnectionLost:
      return "the connection was lost";
    case HttpRequestRunner::kCertificateNotTrusted:
      return "its certificate is not trusted";
    default:
      return "error " + std::to_string(error);
  }
}

}  // namespace

std::string DescribeFailure(const Failure& failure) {
  if (failure.http_status >= 400 || failure.kind == Failure::kHttpStatus) {
    return "the server answered HTTP " + std::to_string(failure.http_status);
  }
  const std::string reason = FindKindMessage(failure.kind).reason;
  switch (failure.kind) {
    case Failure::kNetwork:
      return reason + " (" + DescribeTransportError(failure.transport_error) + ")";
    case Failure::kRefused:
      return failure.message.empty() ? reason : "\"" + failure.message + "\"";
    case Failure::kDownload:
      return failure.message.empty() ? reason : failure.message;
    default:
      return reason;
  }
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
