#ifndef DEVSHOP_ORDERS_H_
#define DEVSHOP_ORDERS_H_

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "catalogue.h"
#include "json.h"

namespace devshop {

/// A cart and, once committed, the order that it becomes.
struct Order {
  enum class Payment {
    kNone,      ///< a cart
    kOpen,      ///< committed; the payment page waits for the customer
    kApproved,  ///< paid
    kCancelled
  };

  std::string id;
  std::string email;  ///< the customer's
  std::vector<std::string> eans;
  std::string last_updated;
  Payment payment = Payment::kNone;
  std::string pay_method;
  std::string success_url;  ///< where the payment page redirects to
  std::string cancel_url;
  std::string payment_token;  ///< the secret part of the payment page's address
  int checks = 0;             ///< of the payment's state, since the commit
  std::string placed;         ///< when it was submitted; empty before

  long AmountHundredths(const Catalogue& catalogue) const;
};

/// All orders. Not thread-safe: the caller locks Shop::mutex.
class Orders {
 public:
  /// The session's cart; a new one when there is none or it is paid.
  Order& Cart(const std::string& session, const std::string& email);
  /// Null when the customer has no such order. The pointer stays valid.
  Order* Find(const std::string& id, const std::string& email);
  Order* FindPayment(const std::string& token);

  /// Opens the payment. A payment method without a page is approved at once.
  void Commit(Order& order, const std::string& pay_method);

  /// The payment's state as the store API names it; counts as a check. A cancelled payment is
  /// "Failure"; any other is "Pending" for the first checks, then "Success" once approved and
  /// "In Progress" until then.
  std::string Check(Order& order);

  int pending_checks = 2;
  std::optional<std::string> next_status;  ///< returned by the next check instead

  void Load(const Json& json);
  Json ToJson() const;

 private:
  std::map<std::string, Order> orders_;                 // by id
  std::map<std::string, std::string> cart_by_session_;  // session to order id
};

}  // namespace devshop

#endif  // DEVSHOP_ORDERS_H_
