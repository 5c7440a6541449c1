/// \file
/// A browser window for a payment page. Prints each URL that a page of the browser goes to,
/// redirects included, on standard output before a request is sent there.

#ifndef DEVICE_CHROMIUM_PAYMENT_WINDOW_H_
#define DEVICE_CHROMIUM_PAYMENT_WINDOW_H_

#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "devtools_pipe.h"

namespace chromium {

class PaymentWindow {
 public:
  /// \param title  the prefix of the pages' titles.
  PaymentWindow(DevtoolsPipe* devtools, std::string url, std::string title);

  /// Handles an event or a response of the browser.
  void Handle(const nlohmann::json& message);

  /// Whether the user has closed the last page.
  bool closed() const { return opened_ && page_sessions_.empty(); }
  bool crashed() const { return crashed_; }

 private:
  void OnAttached(const nlohmann::json& params);
  void OnRequestPaused(const nlohmann::json& params, const std::string& session);

  DevtoolsPipe* devtools_;
  std::string url_;
  std::string title_;
  std::set<std::string> page_sessions_;
  std::set<std::string> main_frames_;
  int setup_id_ = 0;  // the last command that prepares the first page
  bool opened_ = false;
  bool crashed_ = false;
};

}  // namespace chromium

#endif  // DEVICE_CHROMIUM_PAYMENT_WINDOW_H_
