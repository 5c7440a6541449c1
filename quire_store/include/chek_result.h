#ifndef QUIRE_CHEK_RESULT_H_
#define QUIRE_CHEK_RESULT_H_

#include <json/value.h>

#include "quire_export.h"

namespace saltmoor::quire {

/// The state of an order's payment. A value type, not thread-safe.
// Compatibility: applications are compiled against this spelling.
class QUIRE_EXPORT ChekResult {
 public:
  /// The states of a payment.
  enum Status {
    kInProgress = 0,  ///< not settled; StoreManager treats it as failed
    kPending = 1,     ///< not settled: ask again later
    kFailure = 2,     ///< not paid
    kSuccess = 3,     ///< paid: the order can be submitted
  };

  /// Reads the state from the shop's response. A missing or unknown state is kFailure.
  void FromJson(const Json::Value& json);

  Status status;  ///< unspecified before FromJson and after a failed call
};

}  // namespace saltmoor::quire

#endif  // QUIRE_CHEK_RESULT_H_
