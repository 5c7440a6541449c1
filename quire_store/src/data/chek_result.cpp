#include "chek_result.h"

#include <algorithm>
#include <iterator>

#include "json.h"

namespace saltmoor::quire {

void ChekResult::FromJson(const Json::Value& json) {
  // By the value of Status.
  constexpr const char* kTexts[] = {"In Progress", "Pending", "Failure", "Success"};
  const auto* const known =
      std::find(std::begin(kTexts), std::end(kTexts), ToString(GetMember(json, "paymentStatus")));
  // Compatibility: an unknown state is a failure.
  status = known != std::end(kTexts) ? static_cast<Status>(known - kTexts) : kFailure;
}

}  // namespace saltmoor::quire
