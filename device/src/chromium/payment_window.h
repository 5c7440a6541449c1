/// \file
/// A browser window on a payment page, whose addresses are told before they are loaded.

#ifndef DEVICE_CHROMIUM_PAYMENT_WINDOW_H_
#define DEVICE_CHROMIUM_PAYMENT_WINDOW_H_

#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "devtools.h"

namespace chromium {

class PaymentWindow {
 public:
  /// \param title  goes before the titles of the pages.
  /// \param going_to  called with each address that a page of the browser goes to, redirects
  ///     included, before anything is sent there.
  PaymentWindow(Devtools* devtools, std::string address, std::string title,
                std::function<void(const std::string&)> going_to);

  /// Takes what the browser tells.
  void Handle(const nlohmann::json& message);

  /// The user has closed the last page.
  bool closed() const { return opened_ && pages_.empty(); }
  bool crashed() const { return crashed_; }

 private:
  void Attached(const nlohmann::json& params);
  void RequestPaused(const nlohmann::json& params, const std::string& session);

  Devtools* devtools_;
  std::string address_;
  std::string title_;
  std::function<void(const std::string&)> going_to_;
  std::set<std::string> pages_;   // their sessions
  std::set<std::string> frames_;  // their main frames
  int prepared_by_ = 0;  // the command after whose answer the first page may go to the address
  bool opened_ = false;
  bool crashed_ = false;
};

}  // namespace chromium

#endif  // DEVICE_CHROMIUM_PAYMENT_WINDOW_H_
