#ifndef SALTMOOR_UTILITIES_BROWSER_AUTHORIZATION_H_
#define SALTMOOR_UTILITIES_BROWSER_AUTHORIZATION_H_

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace saltmoor::utilities {

/// A session of the device's browser program. The application receives the URLs that the browser
/// visits, for log-ins and payments on web pages.
///
/// The browser is run with the arguments and the URL. It prints each URL that it visits to standard
/// output, one per line, before it loads the page.
class BrowserAuthorization {
 public:
  /// Receives the events of a session. The calls come from a thread of the session, one at a time,
  /// before Start returns and without `mutex_` held. A handler must not throw.
  class IEventHandler {
   public:
    /// The browser visits `url`.
    virtual void UrlChanged(const std::string& url) = 0;
    /// The browser exited with a code other than 0, or was killed by a signal. Does nothing by
    /// default.
    virtual void BrowserError();
    /// The browser exited with code 0, as it does when the user closes it.
    virtual void BrowserClosed() = 0;
    /// Called once per second during the session. Does nothing by default.
    /// \param seconds  since the start of the session.
    virtual void TimePassed(int seconds);
    virtual ~IEventHandler();
  };

  /// \param name  of the session, for the log.
  /// \param handler  owned by the caller; must outlive the session.
  BrowserAuthorization(const std::string& name, IEventHandler* handler);

  /// Runs the program at `browser_path_` with `args`, then `url`, and waits until the session has
  /// ended: the browser exited, or `running_` became false. In the second case the browser is asked
  /// to exit and is killed after two seconds. Thread-safe; one session at a time.
  /// \return 0 if the session ran; -1 if the program cannot be run, `url` is neither http nor
  ///     https, or another session is running. The reason is logged.
  int Start(const std::string& url, const std::vector<std::string>& args);

  /// Raises the browser's window, if the system can. Does nothing without a session. Thread-safe.
  void SetFocus();

  std::mutex mutex_;          ///< guards `running_`
  bool running_ = false;      ///< set by Start; cleared by the session or by the application
  std::string browser_path_;  ///< the program; set before Start

 private:
  struct Session;
  std::string name_;
  IEventHandler* handler_ = nullptr;
  std::shared_ptr<Session> session_;
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_BROWSER_AUTHORIZATION_H_
