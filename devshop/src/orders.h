#ifndef DEVSHOP_ORDERS_H_
#define DEVSHOP_ORDERS_H_

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "catalogue.h"
#include "text.h"

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
  std::string success_url;  ///< where the payment page goes back to
  std::string cancel_url;
  std::string payment_token;  ///< names the payment page; nobody else can guess it
  int checks = 0;             ///< of the payment's state, since the commit
  std::string placed;         ///< when it was submitted; empty before

  long AmountCents(const Catalogue& catalogue) const;
};

/// All orders. The caller locks.
class Orders {
 public:
  /// The session's cart, made when there is none or when it is already paid.
  Order& Cart(const std::string& session, const std::string& email);
  /// Null when that customer has no such order. Pointers stay valid.
  Order* Find(const std::string& id, const std::string& email);
  Order* FindPayment(const std::string& token);

  /// Opens the payment. A way to pay without a page counts as paid.
  void Commit(Order& order, const std::string& pay_method);

  /// The state of the payment in the words of the store API; counts as a check. A payment is
  /// pending for the first checks, whatever its page says; then it succeeds when approved and is in
  /// progress as long as nobody has decided. A cancelled one fails at once.
  std::string Check(Order& order);

  int pending_checks = 2;
  std::optional<std::string> next_status;  ///< the next check's answer, whatever the payment

  void Load(const Json& json);
  Json ToJson() const;

 private:
  std::map<std::string, Order> orders_;                 // by id
  std::map<std::string, std::string> cart_by_session_;  // session to order id
};

}  // namespace devshop

#endif  // DEVSHOP_ORDERS_H_
