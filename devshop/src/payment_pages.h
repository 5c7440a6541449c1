#ifndef DEVSHOP_PAYMENT_PAGES_H_
#define DEVSHOP_PAYMENT_PAGES_H_

#include "http_message.h"
#include "shop.h"

namespace devshop {

/// Serves `/payment/TOKEN`: a card form or a wallet's approval, posted to the page's own secret
/// address with the fields card_holder, card_number, card_expiry, card_cvc and `decision` (approve
/// or cancel). Either decision redirects to the order's return address. Thread-safe.
void ServePayment(Shop& shop, const Request& request, Response& response);

}  // namespace devshop

#endif  // DEVSHOP_PAYMENT_PAGES_H_
