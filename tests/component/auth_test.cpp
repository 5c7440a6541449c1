#include "auth.h"

#include <dlfcn.h>

#include <thread>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

const std::string kRunLog =
    " int saltmoor::quire::Auth::Run(const std::string &, const std::string &): ";

std::string Visited(const std::string& url) {
  return "log 4 quire_store/src/data/auth:66 virtual void saltmoor::quire::Auth::UrlChanged("
         "const std::string &): Auth::UrlChanged. url_string = [" +
         url + "]";
}

class AuthTest : public FakeDeviceFixture {};

TEST_F(AuthTest, SelectsBrowserArgumentsByPayMethod) {
  const std::tuple<const char*, bool, std::string> rows[] = {
      {"PAYPAL", true, " --paypal -img /tmp/quire_browser_logo.bmp"},
      {"PAYPAL", false, " --paypal"},
      {"CCARD", true, " -wirecard"},
      {"paypal", true, ""}};
  for (const auto& [method, has_logo, arguments] : rows) {
    device.has_logo = has_logo;
    device.ClearCalls();
    Auth().Run("https://pay/", method);
    const bool saved = has_logo && method == std::string("PAYPAL");
    EXPECT_EQ(device.Calls({"browser", "resource", "bitmap"}),
              (Lines{"browser session quire", "resource browser_quire"} +
               (saved ? Lines{"bitmap /tmp/quire_browser_logo.bmp"} : Lines()) +
               Lines{"browser run /ebrmain/bin/browser.app" + arguments + " https://pay/"}));
  }
}

TEST_F(AuthTest, LogsEveryResultExceptMinusOne) {
  for (const int result : {0, 1, -2}) {
    device.ClearCalls();
    device.browser.result = result;
    EXPECT_EQ(Auth().Run("https://pay/", "CCARD"), result);
    EXPECT_EQ(device.Calls({"log"}),
              Lines{"log 2 quire_store/src/data/auth:40" + kRunLog + "err:[" +
                    std::to_string(result) + "] Authorize - failed"});
  }
}

// With a result of -1 the log shows whether the payment counted as a success.
TEST_F(AuthTest, EndsAtReturnMarkerAndReadsStatus) {
  const std::string other = "https://pay/next?%s%n=100%";
  const std::tuple<std::string, bool, bool> rows[] = {
      {kReturnPage + "success", true, true},
      {kReturnPage + "success&x=1#y", true, true},
      {kReturnPage + "SUCCESS", true, false},
      {kReturnPage + "successful", true, false},
      {"http://x/QUIRESaltmoor", true, false},
      {"http://x/QUIRESaltmoor#?status=success", true, false},
      {"https://pay/?back=QUIRESaltmoor&status=success", true, true},
      {"http://x/quiresaltmoor?status=success", false, false},
      {"QUIRESaltmoo", false, false},
      {"", false, false}};
  device.browser.result = -1;
  Auth auth;  // each run starts without success
  for (const auto& [url, ends, success] : rows) {
    SCOPED_TRACE(url);
    device.ClearCalls();
    device.browser.visits = {other, url, other};
    EXPECT_EQ(auth.Run("https://pay/", "PAYPAL"), -1);
    EXPECT_EQ(
        device.Calls({"log"}),
        (Lines{Visited(other), Visited(url)} + (ends ? Lines() : Lines{Visited(other)}) +
         (success ? Lines()
                  : Lines{"log 2 quire_store/src/data/auth:45" + kRunLog + "Failed to log it"})));
  }
}

TEST_F(AuthTest, RunsUntilEndedFromAnotherThread) {
  Auth auth;
  EXPECT_FALSE(auth.IsRunning());
  device.browser.stays_open = true;
  std::thread payment([&] { EXPECT_EQ(auth.Run("https://pay/", "CCARD"), 0); });
  while (!auth.IsRunning()) std::this_thread::yield();
  const auto watch = [&] {
    while (auth.IsRunning()) std::this_thread::yield();
  };
  std::thread watchers[] = {std::thread(watch), std::thread(watch)};
  auth.SetFocus();
  auth.BrowserClosed();
  EXPECT_TRUE(auth.IsRunning());
  auth.UrlChanged(kReturnPage + "cancel");
  EXPECT_FALSE(auth.IsRunning());
  payment.join();
  for (std::thread& watcher : watchers) watcher.join();
  EXPECT_EQ(device.Calls({"browser focus"}).size(), 1u);
}

TEST_F(AuthTest, HasContractVtableLayout) {
  Auth auth;
  utilities::BrowserAuthorization::IEventHandler* handler = &auth;
  void* const* slots = *reinterpret_cast<void* const* const*>(handler);
  const char* names[] = {
      "_ZN8saltmoor5quire4Auth10UrlChanged",
      "_ZN8saltmoor9utilities20BrowserAuthorization13IEventHandler12BrowserError",
      "_ZN8saltmoor5quire4Auth13BrowserClosed",
      "_ZN8saltmoor9utilities20BrowserAuthorization13IEventHandler10TimePassed"};
  for (const char* name : names) {
    Dl_info info{};
    ASSERT_NE(dladdr(*slots++, &info), 0);
    ASSERT_NE(info.dli_sname, nullptr);
    EXPECT_TRUE(std::string(info.dli_sname).starts_with(name)) << info.dli_sname;
  }
}

}  // namespace
}  // namespace saltmoor::quire
