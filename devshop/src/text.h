#ifndef DEVSHOP_TEXT_H_
#define DEVSHOP_TEXT_H_

#include <ctime>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace devshop {

/// JSON whose members keep the order in which they were added.
using Json = nlohmann::ordered_json;

/// Form or query fields in the order sent; a name may repeat.
using Fields = std::vector<std::pair<std::string, std::string>>;

/// Serializes, indented; bytes that are not UTF-8 become U+FFFD.
std::string ToString(const Json& json);

/// Parses `application/x-www-form-urlencoded`. An invalid escape is kept as it is.
Fields ParseFields(std::string_view encoded);

/// The value of the first field of that name; else an empty string.
std::string GetField(const Fields& fields, std::string_view name);

/// Percent-encodes everything but letters, digits and `-._~`.
std::string PercentEncode(std::string_view text);
std::string PercentDecode(std::string_view text);

/// Escapes for HTML content and quoted attributes.
std::string EscapeHtml(std::string_view text);

/// Lower case of UTF-8, for comparison; uses the LC_CTYPE locale. Other bytes are returned as sent.
std::string FoldCase(const std::string& utf8);

/// Parses decimal digits; a larger number is the largest. Empty when there is anything else.
std::optional<std::size_t> ParseNumber(std::string_view text);

/// "12.99" is 1299. Empty when the string is not an amount.
std::optional<long> ParseCents(const std::string& amount);
/// 1299 is "12.99", or "12,99" with a comma as the separator.
std::string FormatCents(long cents, char separator = '.');
/// 1299 is "12,99 EUR".
std::string FormatPrice(long cents, const std::string& currency);

/// Formats UTC time as strftime does; the default is how the shop writes its timestamps.
std::string FormatTime(std::time_t time, const char* format = "%Y-%m-%d %H:%M:%S");

}  // namespace devshop

#endif  // DEVSHOP_TEXT_H_
