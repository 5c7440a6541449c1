// What the rules of a transfer owe to the machine around it: its clock and its name servers, which
// stand in here for the C library's.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <string_view>
#include <thread>

#include "saltmoor/utilities/http_request_runner.h"
#include "tests/contract/support/scripted_server.h"
#include "tests/contract/support/workshop.h"

namespace {

std::atomic<bool> woke_in_1970{false};

template <typename Function>
Function* Original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

time_t time(time_t* result) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const time_t seconds = woke_in_1970 ? 100 : now.tv_sec;
  if (result) *result = seconds;
  return seconds;
}

int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** result) {
  if (host && std::string_view(host) == "slow.example") {
    std::this_thread::sleep_for(std::chrono::seconds(4));
    return EAI_AGAIN;
  }
  return Original<decltype(getaddrinfo)>("getaddrinfo")(host, service, hints, result);
}

}  // extern "C"

namespace {

using saltmoor::utilities::HttpRequest;
using saltmoor::utilities::HttpRequestRunner;
using testing_support::Workshop;

TEST(Transfer, ClockBeforeTheBuildIsNamedWhereACertificateIsNotYetValid) {
  const auto certificate =
      testing_support::MakeCertificate(Workshop::Instance().authority(), "IP:127.0.0.1");
  testing_support::ScriptedServer server(
      [](const testing_support::Request&) {
        return testing_support::Reply{testing_support::Answer(200, ""), {}};
      },
      &certificate);
  woke_in_1970 = true;
  const int error = HttpRequestRunner().PerformRequest(HttpRequest("GET", server.Address("/")),
                                                       nullptr, nullptr, 5);
  woke_in_1970 = false;
  EXPECT_GT(error, 0);
  EXPECT_TRUE(server.requests().empty());
  const std::string log = Workshop::Instance().Log();
  EXPECT_NE(log.find("not yet valid"), std::string::npos) << log;
  EXPECT_NE(log.find("1970-01-01"), std::string::npos) << log;
  EXPECT_NE(log.find("set the clock"), std::string::npos) << log;
}

TEST(Transfer, SlowNameServerDoesNotOutlastTheTimeOut) {
  const auto begin = std::chrono::steady_clock::now();
  const HttpRequest request("GET", "http://slow.example/");
  EXPECT_GT(HttpRequestRunner().PerformRequest(request, nullptr, nullptr, 1), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

}  // namespace
