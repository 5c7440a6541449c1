#ifndef QUIRE_APPS_COMMON_ORDER_PAYMENT_H_
#define QUIRE_APPS_COMMON_ORDER_PAYMENT_H_

#include <string>

#include "order_journal.h"
#include "server_api.h"
#include "store_manager.h"

namespace app {

/// Takes a recorded order through its payment, also one that an earlier process began: what
/// StoreManager keeps in memory comes from the record here. Has a session of its own with the shop.
/// Each call waits for the shop, at most 30 seconds a request. Not thread-safe.
class OrderPayment {
 public:
  enum class State {
    kPlaced,      ///< paid and placed: its books are the user's
    kNotPaid,     ///< cancelled or failed
    kPending,     ///< the shop does not know yet; ask again in some seconds
    kInProgress,  ///< the payment page waits for the user's decision
    kRefused,  ///< the shop does not say, as of an order whose payment did not begin: see failure
    kPaid,     ///< paid, but placing the order failed: see failure
    kUnknown   ///< the shop could not be asked: see failure
  };
  struct Outcome {
    State state = State::kUnknown;
    saltmoor::quire::Failure failure;
    std::string placed;  ///< the server's timestamp of an order that this call placed
  };
  struct PageResult {
    bool was_shown = false;
    saltmoor::quire::Failure failure;  ///< kBrowser for a page that was shown: the browser crashed
  };

  /// \param manager  its configuration and stored credentials are used.
  explicit OrderPayment(saltmoor::quire::StoreManager& manager);

  /// Commits the order for payment by its method and shows the payment page until the browser has
  /// ended. The same order can be committed again and is charged once.
  PageResult ShowPage(const RecordedOrder& order);

  /// Asks the shop what has become of the order, and places it if it is paid and not placed yet.
  Outcome Settle(const RecordedOrder& order);

 private:
  /// Logs in unless there is a session.
  saltmoor::quire::Failure LogIn();

  saltmoor::quire::ServerApi server_api_;
  std::string user_;
  std::string password_;
};

}  // namespace app

#endif  // QUIRE_APPS_COMMON_ORDER_PAYMENT_H_
