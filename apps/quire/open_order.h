#ifndef QUIRE_APP_OPEN_ORDER_H_
#define QUIRE_APP_OPEN_ORDER_H_

#include <optional>
#include <string>

#include "order_payment.h"
#include "store_manager.h"

namespace app {

namespace store = saltmoor::quire;

/// An order whose payment was started, and what the shop says about it.
struct SettledOrder {
  RecordedOrder order;
  OrderPayment::Outcome outcome;

  bool HasEnded() const {
    return outcome.state == OrderPayment::State::kPlaced ||
           outcome.state == OrderPayment::State::kNotPaid;
  }
};

/// The journal of orders. Reports a damaged file. Throws CommandError when it cannot be read.
OrderJournal ReadOrderJournal();

/// The lock of the journal: held while an order is paid or settled.
class PaymentLock : public FileLock {
 public:
  PaymentLock();
};

/// Asks the shop once what has become of an order, and places it if it is paid. An order that has
/// ended is no longer open in the journal, and the titles of a placed one leave the cart. The
/// caller holds the lock.
SettledOrder SettleOrder(store::StoreManager& manager, OrderPayment& payment,
                         const RecordedOrder& order);

/// The order's number, titles and total, as in "order 500001 (“Küche” and 2 more, 19,90 EUR)".
std::string NameOrder(const RecordedOrder& order);

/// What has become of the order, and what the user may do next.
std::string DescribeOrder(const SettledOrder& settled);

}  // namespace app

#endif  // QUIRE_APP_OPEN_ORDER_H_
