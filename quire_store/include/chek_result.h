#ifndef QUIRE_CHEK_RESULT_H_
#define QUIRE_CHEK_RESULT_H_

#include <json/value.h>

#include "quire_export.h"

namespace saltmoor::quire {

/// The state of an order's payment. (The name's spelling is part of the interface.) A plain value:
/// an object belongs on one thread at a time.
class QUIRE_EXPORT ChekResult {
 public:
  /// What the shop says of a payment.
  enum Status {
    kInProgress = 0,  ///< not settled; StoreManager takes it as failed
    kPending = 1,     ///< not settled: ask again later
    kFailure = 2,     ///< not paid
    kSuccess = 3,     ///< paid: the order can be submitted
  };

  /// Fills the state from the shop's answer. A missing or unknown state is kFailure.
  void FromJson(const Json::Value& json);

  Status status;  ///< not set until FromJson; beside a failed result it must not be read
};

}  // namespace saltmoor::quire

#endif  // QUIRE_CHEK_RESULT_H_
