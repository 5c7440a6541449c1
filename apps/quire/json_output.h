#ifndef QUIRE_APP_JSON_OUTPUT_H_
#define QUIRE_APP_JSON_OUTPUT_H_

#include <nlohmann/json.hpp>
#include <string>

namespace app {

/// JSON that keeps the order of its members.
using Json = nlohmann::ordered_json;

/// Writes `json` to the standard output as SerializeJson returns it.
void PrintJson(const Json& json);

/// Serializes `json` with indentation. Invalid UTF-8 becomes U+FFFD; control characters and
/// direction controls become escapes.
std::string SerializeJson(const Json& json);

/// `text` as JSON; null when it is empty.
Json StringOrNull(const std::string& text);

}  // namespace app

#endif  // QUIRE_APP_JSON_OUTPUT_H_
