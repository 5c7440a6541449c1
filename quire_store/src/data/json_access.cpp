#include "json_access.h"

#include <json/reader.h>

#include <locale>
#include <string>

#include "json_locale.h"

namespace saltmoor::quire {

const Json::Value* FindMember(const Json::Value& value, std::string_view key) {
  return value.isObject() ? value.find(key.data(), key.data() + key.size()) : nullptr;
}

const Json::Value& Member(const Json::Value& value, std::string_view key) {
  const Json::Value* const member = FindMember(value, key);
  return member != nullptr ? *member : Json::Value::nullSingleton();
}

std::optional<std::int64_t> SignedInteger(const Json::Value& value) {
  if (value.type() == Json::intValue) return value.asInt64();
  // The reader types every integer above this as unsigned.
  constexpr auto kLargestReadAsSigned = static_cast<Json::LargestUInt>(Json::Value::maxInt);
  if (value.type() == Json::uintValue && value.asLargestUInt() > kLargestReadAsSigned &&
      value.isInt64()) {
    return value.asInt64();
  }
  return std::nullopt;
}

bool ParseJson(std::string_view text, Json::Value& value) {
  value = Json::Value();
  std::string rewritten;
  if (std::locale() != std::locale::classic()) text = rewritten = WithoutDecimalPoints(text);
  if (text.empty()) return false;
  try {
    return Json::Reader().parse(text.data(), text.data() + text.size(), value, true);
  } catch (const Json::Exception&) {  // nesting too deep: what was built until then stands
    return false;
  }
}

}  // namespace saltmoor::quire
