#ifndef DEVSHOP_PAYMENT_PAGES_H_
#define DEVSHOP_PAYMENT_PAGES_H_

#include <map>
#include <string>

#include "http_message.h"
#include "shop.h"

namespace devshop {

/// The payment pages: a card form or a wallet's approval, posted to the page's own secret address
/// with the fields card_holder, card_number, card_expiry, card_cvc and `decision` (approve or
/// cancel). Either decision redirects to the order's return address. Thread-safe.
class PaymentPages {
 public:
  explicit PaymentPages(Shop& shop) : shop_(shop) {}

  /// Answers `/payment/TOKEN`.
  void Handle(const Request& request, Response& response);

 private:
  using Wrong = std::map<std::string, std::string>;  // by field name

  void Decide(Order& order, const Request& request, Response& response);
  void ShowForm(const Order& order, const Fields& typed, const Wrong& wrong,
                Response& response) const;

  Shop& shop_;
};

}  // namespace devshop

#endif  // DEVSHOP_PAYMENT_PAGES_H_
