#ifndef DEVSHOP_JSON_H_
#define DEVSHOP_JSON_H_

#include <nlohmann/json.hpp>
#include <string>

namespace devshop {

/// JSON whose members keep the order in which they were added.
using Json = nlohmann::ordered_json;

/// Serializes, indented; bytes that are not UTF-8 become U+FFFD.
inline std::string ToString(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace devshop

#endif  // DEVSHOP_JSON_H_
