#ifndef DEVSHOP_PAYMENT_PAGES_H_
#define DEVSHOP_PAYMENT_PAGES_H_

#include <map>
#include <string>

#include "http_message.h"
#include "shop.h"

namespace devshop {

/// The pages on which customers pay: a card form, or a wallet that asks for approval. Plain forms,
/// posted to the page's own address, whose last part nobody else can guess: the fields card_holder,
/// card_number, card_expiry and card_cvc, and `decision`, approve or cancel. Both decisions lead
/// back to the addresses that the order was committed with. Any thread.
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
