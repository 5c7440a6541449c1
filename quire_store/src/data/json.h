#ifndef QUIRE_JSON_H_
#define QUIRE_JSON_H_

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "json_text.h"

namespace saltmoor::quire {

// The one module that reads and writes JSON and the numbers in it, with a decimal point and ASCII
// digits in every locale of the application. Nothing here throws for any content, although
// jsoncpp throws for a value of another type and for deep nesting.

/// Parses `text`.
/// \param value  receives what the reader built, also after an error; null when it built nothing.
/// \return whether the text is JSON.
bool ParseJson(std::string_view text, Json::Value& value);

/// The document as jsoncpp's stream operator writes it: the form of the configuration's cache.
std::string SerializeJson(const Json::Value& value);

/// Appends `text`, quoted, to `out`, and writes a real number, as jsoncpp's older styled writer
/// does: the form of the cart file.
void AppendQuoted(const std::string& text, std::string& out);
std::string FormatReal(double number);

/// The member `key`; null when `value` is no object or has no such member. Valid as long as `value`
/// is.
const Json::Value* FindMember(const Json::Value& value, std::string_view key);

/// The member `key`; a null value when there is none. Valid as long as `value` is.
const Json::Value& GetMember(const Json::Value& value, std::string_view key);

/// The signed integer that a reader read; nothing for every other type, for a number above the
/// signed 64-bit range, and for a small unsigned value, which parsing never produces.
std::optional<std::int64_t> GetInt64(const Json::Value& value);

/// The string that jsoncpp converts a value to, real numbers included; empty for an array or an
/// object.
std::string ConvertToString(const Json::Value& value);

/// The number at the beginning of `text`, as strtod reads it; 0 when there is none or it is not
/// finite.
double ParseNumber(const std::string& text);

/// Six significant digits without trailing zeros, an exponent when the number is large: "12.99",
/// "12345.7", "1e+06".
std::string FormatNumber(double number);

}  // namespace saltmoor::quire

#endif  // QUIRE_JSON_H_
