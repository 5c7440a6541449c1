#include "command_error.h"

#include <gtest/gtest.h>

#include "saltmoor/utilities/http_request_runner.h"

namespace app {
namespace {

using saltmoor::quire::Failure;
using saltmoor::utilities::HttpRequestRunner;

Failure Make(Failure::Kind kind, const std::string& message = "", int transport_error = 0) {
  return {kind, transport_error, 0, message};
}

TEST(DescribeFailure, NamesTheTransportError) {
  const auto describe = [](int error) {
    return DescribeFailure(Make(Failure::kNetwork, "", error));
  };
  EXPECT_EQ(describe(HttpRequestRunner::kTimedOut),
            "the server cannot be reached (it took too long to answer)");
  EXPECT_EQ(describe(HttpRequestRunner::kCertificateNotTrusted),
            "the server cannot be reached (its certificate is not trusted)");
  EXPECT_EQ(describe(999), "the server cannot be reached (error 999)");
}

TEST(DescribeFailure, QuotesTheShopOnlyWhenItSaysWhy) {
  EXPECT_EQ(DescribeFailure(Make(Failure::kRefused, "Locked.")), "\"Locked.\"");
  EXPECT_EQ(DescribeFailure(Make(Failure::kRefused)), "the shop refused");
}

TEST(ToCommandError, KnowsEveryKindOfFailure) {
  const std::string unknown = ToCommandError("What", Failure()).what();
  for (int kind = Failure::kNone + 1; kind <= Failure::kNotABook; ++kind) {
    const CommandError error = ToCommandError("What", Make(static_cast<Failure::Kind>(kind)));
    EXPECT_NE(error.what(), unknown) << kind;
    EXPECT_EQ(std::string(error.what()).find("What: "), 0U) << error.what();
  }
  const CommandError later = ToCommandError("What", Make(Failure::kRefused, "No!"), "Ask again.");
  EXPECT_STREQ(later.what(), "What: \"No!\" Ask again.");
  EXPECT_EQ(later.code, kFailed);
}

}  // namespace
}  // namespace app
