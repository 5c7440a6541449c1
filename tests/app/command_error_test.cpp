#include "command_error.h"

#include <gtest/gtest.h>

#include "failure_text.h"
#include "saltmoor/utilities/http_request_runner.h"

namespace app {
namespace {

using saltmoor::quire::Failure;
using saltmoor::utilities::HttpRequestRunner;

TEST(DescribeFailure, NamesTheErrorOrQuotesTheShop) {
  const std::pair<Failure, const char*> cases[] = {
      {{Failure::kNetwork, HttpRequestRunner::kTimedOut, 0, ""},
       "the server cannot be reached (it took too long to answer)"},
      {{Failure::kNetwork, HttpRequestRunner::kCertificateNotTrusted, 0, ""},
       "the server cannot be reached (its certificate is not trusted)"},
      {{Failure::kNetwork, 999, 0, ""}, "the server cannot be reached (error 999)"},
      {{Failure::kRefused, 0, 0, "Locked."}, "\"Locked.\""},
      {{Failure::kRefused, 0, 0, ""}, "the shop refused"}};
  for (const auto& [failure, text] : cases) EXPECT_EQ(DescribeFailure(failure), text);
}

TEST(ToCommandError, HandlesEveryKind) {
  const std::string unknown = ToCommandError("What", Failure()).what();
  for (int kind = Failure::kNone + 1; kind <= Failure::kNotSaved; ++kind) {
    const CommandError error = ToCommandError("What", {static_cast<Failure::Kind>(kind), 0, 0, ""});
    EXPECT_NE(error.what(), unknown) << kind;
    EXPECT_EQ(std::string(error.what()).find("What: "), 0U) << error.what();
  }
  const CommandError later = ToCommandError("What", {Failure::kRefused, 0, 0, "No!"}, "Ask again.");
  EXPECT_STREQ(later.what(), "What: \"No!\" Ask again.");
  EXPECT_EQ(later.code, kFailed);
  const CommandError unsaved = ToCommandError("What", {Failure::kNotSaved, 0, 0, "", "/f", 28});
  EXPECT_STREQ(unsaved.what(),
               "What: /f could not be saved (No space left on device). Check that the "
               "disk is not full and that the file can be written.");
  EXPECT_EQ(unsaved.code, kNotSaved);
}

}  // namespace
}  // namespace app
