#include "json_text.h"

#include "json_access.h"

namespace saltmoor::quire {

std::string ToString(const Json::Value& value) {
  if (value.isString()) return value.asString();
  if (value.isBool()) return value.asBool() ? "true" : "false";
  if (const auto integer = SignedInteger(value)) return std::to_string(*integer);
  return {};  // real numbers too: prices come as texts or integers
}

}  // namespace saltmoor::quire
