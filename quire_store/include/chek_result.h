#ifndef QUIRE_CHEK_RESULT_H_
#define QUIRE_CHEK_RESULT_H_

#include <json/value.h>

#include "quire_export.h"

namespace saltmoor::quire {

/// The state of an order's payment. (The name's spelling is part of the interface.) A plain value:
/// an object belongs on one thread at a time.
class QUIRE_EXPORT ChekResult {
 public:
  enum Status {
    kInProgress = 0,
    kPending = 1,  ///< ask again later
    kFailure = 2,
    kSuccess = 3,
  };

  /// Fills the state from the shop's answer. A missing or unknown state is kFailure.
  void FromJson(const Json::Value& json);

  Status status;  ///< not set until FromJson; beside a failed result it must not be read
};

}  // namespace saltmoor::quire

#endif  // QUIRE_CHEK_RESULT_H_
