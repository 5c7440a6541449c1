#include "chek_result.h"

#include <map>
#include <string>

#include "json.h"

namespace saltmoor::quire {

void ChekResult::FromJson(const Json::Value& json) {
  static const std::map<std::string, Status> kStatusByText{
      {"In Progress", kInProgress},
      {"Pending", kPending},
      {"Failure", kFailure},
      {"Success", kSuccess},
  };
  const auto known = kStatusByText.find(ToString(Member(json, "paymentStatus")));
  // Compatibility: an unknown state is a failure.
  status = known != kStatusByText.end() ? known->second : kFailure;
}

}  // namespace saltmoor::quire
