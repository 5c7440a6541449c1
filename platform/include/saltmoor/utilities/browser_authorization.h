#ifndef SALTMOOR_UTILITIES_BROWSER_AUTHORIZATION_H_
#define SALTMOOR_UTILITIES_BROWSER_AUTHORIZATION_H_

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace saltmoor::utilities {

/// A session of the device's browser whose visited addresses an application watches: for log-ins
/// and payments that happen on web pages.
///
/// The browser program is run with the arguments and the address; it prints each address that it
/// goes to, one a line, before loading it.
class BrowserAuthorization {
 public:
  /// What an application hears of a session. The session calls it from a thread of its own, never
  /// two calls at once, never after Start has returned, and never while it holds `mutex_`. A
  /// handler must not throw.
  class IEventHandler {
   public:
    /// The browser goes to `url`.
    virtual void UrlChanged(const std::string& url) = 0;
    /// The browser ended by itself, badly: a signal, an exit code other than 0. Does nothing here.
    virtual void BrowserError();
    /// The user closed the browser, or it ended by itself with exit code 0.
    virtual void BrowserClosed() = 0;
    /// Called once a second while the session runs. Does nothing here.
    /// \param seconds  since the session began.
    virtual void TimePassed(int seconds);
    virtual ~IEventHandler();
  };

  /// \param name  of the session, for the log and the browser's window.
  /// \param handler  stays the caller's and must outlive the session.
  BrowserAuthorization(const std::string& name, IEventHandler* handler);

  /// Runs the program at `browser_path_` with `args` and then `url`, and returns when the session
  /// has ended: the browser ended, however it did, or `running_` went false, upon which the browser
  /// is asked to end and after two seconds made to. Any thread; one session at a time.
  /// \return 0 when the session ran; -1 when there is no such program, `url` is neither http nor
  ///     https, or a session runs already. The reason is logged.
  int Start(const std::string& url, const std::vector<std::string>& args);

  /// Brings the browser's window to the front, where the system can. Any thread; without a running
  /// session it does nothing.
  void SetFocus();

  std::mutex mutex_;          ///< guards `running_`
  bool running_ = false;      ///< the session is live; set by Start, cleared by either side
  std::string browser_path_;  ///< the program; set before Start

 private:
  struct Session;
  std::string name_;
  IEventHandler* handler_ = nullptr;
  std::shared_ptr<Session> session_;
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_BROWSER_AUTHORIZATION_H_
