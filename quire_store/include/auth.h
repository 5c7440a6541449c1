#ifndef QUIRE_AUTH_H_
#define QUIRE_AUTH_H_

#include <string>

#include "quire_export.h"
#include "saltmoor/utilities/browser_authorization.h"

namespace saltmoor::quire {

/// One payment in the device's browser: shows the payment page and ends when the browser reaches
/// the shop's return address. Made for one payment and run once.
class QUIRE_EXPORT Auth : public utilities::BrowserAuthorization::IEventHandler {
 public:
  Auth();

  /// Shows `url` and waits on the caller's thread until the session has ended, however it did.
  /// \param pay_method  "PAYPAL" or "CCARD" choose the browser's arguments; compared
  ///     exactly.
  /// \return what the platform's session gave: 0 it ran, -1 it did not: there is no browser, or
  ///     the address is no web address. It tells nothing of the payment, whose only judge is the
  ///     shop.
  int Run(const std::string& url, const std::string& pay_method);

  /// Whether the browser session is live. Any thread.
  bool IsRunning();

  /// Brings the browser to the front. Any thread.
  void SetFocus();

  /// Called by the session, on a thread of its own, for each address that the browser goes to. An
  /// address with the return marker ends the session.
  void UrlChanged(const std::string& url) override;

  /// Called by the session when the user closed the browser. Does nothing.
  void BrowserClosed() override;

 private:
  utilities::BrowserAuthorization session_;
  bool success_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_AUTH_H_
