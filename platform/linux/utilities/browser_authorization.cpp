#include "saltmoor/utilities/browser_authorization.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "platform/linux/common/log.h"
#include "platform/linux/common/strings.h"
#include "platform/linux/utilities/browser_process.h"

namespace saltmoor::utilities {
namespace {

using platform::BrowserProcess;
using platform::CatchAtBoundary;
using platform::Error;
using platform::IsHttpUrl;
using platform::Log;
using platform::LogLevel;

// The longest delay until a cleared `running_`, or the exit of a silent program, is noticed.
constexpr int kPollInterval_ms = 50;

/// Raises the windows of a process group. Does nothing without a display or without `wmctrl`.
void RaiseWindows(pid_t group) {
  if (!std::getenv("DISPLAY")) return;
  FILE* list = popen("wmctrl -lp 2>/dev/null", "re");
  if (!list) return;
  std::vector<unsigned long> windows;
  char line[1024];
  while (std::fgets(line, sizeof line, list)) {
    // Columns: window, desktop, PID.
    char* rest = nullptr;
    const unsigned long window = std::strtoul(line, &rest, 16);
    std::strtol(rest, &rest, 10);
    const auto pid = static_cast<pid_t>(std::strtol(rest, nullptr, 10));
    if (pid > 0 && getpgid(pid) == group) windows.push_back(window);
  }
  pclose(list);
  for (const unsigned long window : windows) {
    char command[64];
    std::snprintf(command, sizeof command, "wmctrl -i -a 0x%lx 2>/dev/null", window);
    if (std::system(command) != 0) return;
  }
}

}  // namespace

/// One run of the browser. Only `group` may be used outside the session's thread.
struct __attribute__((visibility("hidden"))) BrowserAuthorization::Session {
  Session(BrowserAuthorization* session_owner, IEventHandler* event_handler)
      : owner(session_owner), handler(event_handler) {}

  bool IsRunning() const {
    const std::lock_guard<std::mutex> lock(owner->mutex_);
    return owner->running_;
  }

  Error RunInThread(const std::vector<std::string>& args);
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

Error BrowserAuthorization::Session::RunInThread(const std::vector<std::string>& args) {
  return CatchAtBoundary(Error::InvalidData("it cannot be run"), [&] {
    Error error;
    std::thread([&] {
      error = CatchAtBoundary(Error::InvalidData("it cannot be run"), [&] { return Run(args); });
    }).join();
    return error;
  });
}

Error BrowserAuthorization::Session::Run(const std::vector<std::string>& args) {
  BrowserProcess browser;
  if (Error error = browser.Start(owner->browser_path_, args)) return error;
  group = browser.group();
  Watch(&browser);
  return {};
}

void BrowserAuthorization::Session::Watch(BrowserProcess* browser) {
  for (;;) {
    // Checked before reading, so that the last output is not lost.
    const bool exited = browser->HasExited();
    if (!ReportUrls(browser->ReadLines(exited ? 0 : kPollInterval_ms))) {
      browser->Terminate();
      return;
    }
    if (exited) {
      ReportExit(browser->failure());
      return;
    }
    ReportTime();
  }
}

/// \return false if the session has ended.
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

int BrowserAuthorization::Start(const std::string& url, const std::vector<std::string>& args) {
  const auto run = [&]() -> Error {
    if (!IsHttpUrl(url)) return Error::InvalidData("the URL is neither http nor https");
    std::vector<std::string> all_args = args;
    all_args.push_back(url);
    const auto session = std::make_shared<Session>(this, handler_);
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (session_) return Error::InvalidData("another session is running");
      session_ = session;
      running_ = true;
    }
    Error error = session->RunInThread(all_args);
    const std::lock_guard<std::mutex> lock(mutex_);
    running_ = false;
    session_.reset();
    return error;
  };
  return CatchAtBoundary(-1, [&] {
    const Error error = run();
    if (error) Log(LogLevel::kError, "session " + name_ + ": " + error.message());
    return error ? -1 : 0;
  });
}

void BrowserAuthorization::SetFocus() {
  CatchAtBoundary([this] {
    std::shared_ptr<Session> session;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      session = session_;
    }
    if (session && session->group != 0) RaiseWindows(session->group);
  });
}

}  // namespace saltmoor::utilities
