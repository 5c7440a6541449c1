#ifndef TESTS_CONTRACT_SUPPORT_BROWSER_SESSION_H_
#define TESTS_CONTRACT_SUPPORT_BROWSER_SESSION_H_

#include <thread>

#include "saltmoor/utilities/browser_authorization.h"
#include "suite.h"

/// A session whose browser is a shell script, with the events that its handler received.
class BrowserSession : public saltmoor::utilities::BrowserAuthorization::IEventHandler {
 public:
  using Lines = std::vector<std::string>;

  explicit BrowserSession(const std::string& script) {
    WriteScript(directory / "browser", "cd \"$(dirname \"$0\")\"\n" + script);
    browser.browser_path_ = directory / "browser";
  }

  int Run(const std::string& url = "https://shop.example/pay", const Lines& args = {}) {
    const Stopwatch time;
    const int result = browser.Start(url, args);
    seconds = time.seconds();
    EXPECT_FALSE(IsRunning());
    return result;
  }

  void UrlChanged(const std::string& url) override {
    EXPECT_TRUE(IsRunning());
    EXPECT_NE(std::this_thread::get_id(), creator_);
    events.push_back(url);
    if (url.find("RETURN") != std::string::npos) Stop();
  }
  void BrowserError() override { events.push_back("error"); }
  void BrowserClosed() override { events.push_back("closed"); }
  void TimePassed(int passed_s) override {
    times.push_back(passed_s);
    if (on_time) on_time();
  }

  void Stop() {
    const std::lock_guard lock(browser.mutex_);
    browser.running_ = false;
  }
  bool IsRunning() {
    const std::lock_guard lock(browser.mutex_);
    return browser.running_;
  }

  const TemporaryDirectory directory;
  Lines events;
  std::vector<int> times;
  std::function<void()> on_time;
  double seconds = 0;
  saltmoor::utilities::BrowserAuthorization browser{"test", this};

 private:
  const std::thread::id creator_ = std::this_thread::get_id();
};

#endif  // TESTS_CONTRACT_SUPPORT_BROWSER_SESSION_H_
