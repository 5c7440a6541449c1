#ifndef QUIRE_PENDING_PAYMENT_H_
#define QUIRE_PENDING_PAYMENT_H_

#include <string>

#include "first_failure.h"
#include "server_api.h"

namespace saltmoor::quire {

/// The payment of one order, from its commitment until the order is submitted. Not thread-safe.
class PendingPayment {
 public:
  /// \param server_api,failure  must outlive the payment.
  PendingPayment(ServerApi& server_api, FirstFailure& failure)
      : server_api_(server_api), failure_(failure) {}

  /// Commits an order and shows its payment page: StoreManager::StartPayment.
  ServerApi::Result Start(const std::string& order_id, const std::string& pay_method);

  /// Waits until the order is paid and submits it: StoreManager::CheckPaymentResult.
  ServerApi::Result Complete();

  /// Asks the shop once about the order.
  /// \return whether the shop answered; false when no order is pending.
  bool Check();

  /// The server's timestamp of the last submitted order; empty when there is none.
  const std::string& GetOrderDatePlaced() const { return order_date_placed_; }

 private:
  ServerApi& server_api_;
  FirstFailure& failure_;
  std::string order_id_;  // empty: no order is pending
  std::string pay_method_;
  std::string order_date_placed_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_PENDING_PAYMENT_H_
