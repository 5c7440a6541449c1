#include "saltmoor/utilities/browser_authorization.h"

#include <strings.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <thread>

#include "platform/linux/common/log.h"
#include "platform/linux/utilities/browser_process.h"
#include "platform/linux/utilities/browser_window.h"

namespace saltmoor::utilities {
namespace {

using platform::BrowserProcess;
using platform::Error;
using platform::Log;
using platform::LogLevel;

// How soon a flag that another thread cleared, or a program that closed its output, is noticed.
constexpr int kPollInterval_ms = 50;

bool IsHttpUrl(const std::string& text) {
  return strncasecmp(text.c_str(), "http://", 7) == 0 ||
         strncasecmp(text.c_str(), "https://", 8) == 0;
}

}  // namespace

/// One run of the browser. Everything but `group` belongs to the session's own thread.
struct __attribute__((visibility("hidden"))) BrowserAuthorization::Session {
  Session(BrowserAuthorization* session_owner, IEventHandler* event_handler)
      : owner(session_owner), handler(event_handler) {}

  bool IsRunning() const {
    const std::lock_guard<std::mutex> lock(owner->mutex_);
    return owner->running_;
  }

  Error Run(const std::vector<std::string>& args);
  void Watch(BrowserProcess* browser);
  bool ReportUrls(const std::vector<std::string>& lines);
  void ReportTime();
  void ReportExit(const std::string& failure);

  BrowserAuthorization* const owner;
  IEventHandler* const handler;
  const std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
  int reported_s = 0;
  std::atomic<pid_t> group{0};
};

Error BrowserAuthorization::Session::Run(const std::vector<std::string>& args) {
  BrowserProcess browser;
  if (Error error = browser.Start(owner->browser_path_, args)) return error;
  group = browser.group();
  Watch(&browser);
  return {};
}

void BrowserAuthorization::Session::Watch(BrowserProcess* browser) {
  for (;;) {
    // Looked at before the output, so that what was printed last is not lost.
    const bool ended = browser->HasExited();
    if (!ReportUrls(browser->ReadLines(ended ? 0 : kPollInterval_ms))) {
      browser->Terminate();
      return;
    }
    if (ended) {
      ReportExit(browser->failure());
      return;
    }
    ReportTime();
  }
}

/// \return false once the session is over: nothing more is reported then.
bool BrowserAuthorization::Session::ReportUrls(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    if (!IsRunning()) return false;
    if (!IsHttpUrl(line)) continue;
    handler->UrlChanged(line.back() == '\r' ? line.substr(0, line.size() - 1) : line);
  }
  return IsRunning();
}

void BrowserAuthorization::Session::ReportTime() {
  const auto passed = std::chrono::steady_clock::now() - begin;
  const auto passed_s =
      static_cast<int>(std::chrono::duration_cast<std::chrono::seconds>(passed).count());
  if (passed_s == reported_s) return;
  reported_s = passed_s;
  handler->TimePassed(passed_s);
}

void BrowserAuthorization::Session::ReportExit(const std::string& failure) {
  {
    const std::lock_guard<std::mutex> lock(owner->mutex_);
    owner->running_ = false;
  }
  if (failure.empty()) {
    handler->BrowserClosed();
    return;
  }
  Log(LogLevel::kError, "the browser " + owner->browser_path_ + " failed: " + failure);
  handler->BrowserError();
}

void BrowserAuthorization::IEventHandler::BrowserError() {}
void BrowserAuthorization::IEventHandler::TimePassed(int) {}
BrowserAuthorization::IEventHandler::~IEventHandler() = default;

BrowserAuthorization::BrowserAuthorization(const std::string& name, IEventHandler* handler)
    : name_(name), handler_(handler) {}

int BrowserAuthorization::Start(const std::string& url, const std::vector<std::string>& args) try {
  if (!IsHttpUrl(url)) {
    Log(LogLevel::kError, "session " + name_ + ": the page's address is neither http nor https");
    return -1;
  }
  const auto session = std::make_shared<Session>(this, handler_);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (session_) {
      Log(LogLevel::kError, "session " + name_ + ": it runs already");
      return -1;
    }
    session_ = session;
    running_ = true;
  }
  Error error;
  try {
    std::vector<std::string> all_args = args;
    all_args.push_back(url);
    std::thread([&]() noexcept {
      try {
        error = session->Run(all_args);
      } catch (const std::exception& e) {
        error = Error::InvalidData(e.what());
      }
    }).join();
  } catch (const std::exception& e) {
    error = Error::InvalidData(e.what());
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    running_ = false;
    session_.reset();
  }
  if (!error) return 0;
  Log(LogLevel::kError, "session " + name_ + ": " + error.message());
  return -1;
} catch (const std::exception&) {
  return -1;
}

void BrowserAuthorization::SetFocus() try {
  std::shared_ptr<Session> session;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    session = session_;
  }
  if (session && session->group != 0) platform::RaiseWindows(session->group);
} catch (const std::exception&) {  // the window stays where it is
}

}  // namespace saltmoor::utilities
