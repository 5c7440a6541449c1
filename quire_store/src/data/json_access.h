#ifndef QUIRE_JSON_ACCESS_H_
#define QUIRE_JSON_ACCESS_H_

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace saltmoor::quire {

// The one door to JSON that came from outside. jsoncpp throws when a value is not of the type that
// is asked of it, and when nesting is deep; nothing here does.

/// The member `key`, or null when `value` is no object or has no such member. It lives as long as
/// `value` does.
const Json::Value* FindMember(const Json::Value& value, std::string_view key);

/// The same with a missing member read as a null value.
const Json::Value& Member(const Json::Value& value, std::string_view key);

/// The integer that a reader read; nothing for every other type, for a number above the signed
/// 64-bit range, and for a small unsigned value, which only code makes.
std::optional<std::int64_t> SignedInteger(const Json::Value& value);

/// Parses a text, whatever the locale.
/// \param value  receives what the reader built, also when it gave up; null when nothing.
/// \return whether the text is JSON.
bool ParseJson(std::string_view text, Json::Value& value);

}  // namespace saltmoor::quire

#endif  // QUIRE_JSON_ACCESS_H_
