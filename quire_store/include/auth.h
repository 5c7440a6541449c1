#ifndef QUIRE_AUTH_H_
#define QUIRE_AUTH_H_

#include <string>

#include "quire_export.h"
#include "saltmoor/utilities/browser_authorization.h"

namespace saltmoor::quire {

/// Shows a payment page in the device's browser until the browser reaches the shop's return
/// address. One object serves one payment.
class QUIRE_EXPORT Auth : public utilities::BrowserAuthorization::IEventHandler {
 public:
  Auth();

  /// Shows `url` and waits until the browser session has ended. Must be called once.
  /// \param pay_method  "PAYPAL" or "CCARD" select the browser's arguments; compared exactly.
  /// \return the result of the platform's session: 0 when it ran, -1 when there is no browser or
  ///     the address is no web address. Whether the user paid is known to the shop only.
  int Run(const std::string& url, const std::string& pay_method);

  /// Whether the browser session is running. Thread-safe.
  bool IsRunning();

  /// Brings the browser to the front. Thread-safe.
  void SetFocus();

  /// Called by the session, on a thread of its own, for each address that the browser opens. An
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
