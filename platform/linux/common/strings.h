#ifndef PLATFORM_LINUX_COMMON_STRINGS_H_
#define PLATFORM_LINUX_COMMON_STRINGS_H_

#include <charconv>
#include <string>
#include <string_view>
#include <vector>

namespace saltmoor::platform {

/// Splits a string at a separator. An empty string has one empty part.
std::vector<std::string> Split(std::string_view text, char separator);

/// Parses a string that consists of one decimal number.
/// \return false, with `*number` unchanged, if it does not or the number does not fit.
template <typename Number>
bool ParseNumber(std::string_view text, Number* number) {
  const char* const end = text.data() + text.size();
  Number result = 0;
  const auto [stop, error] = std::from_chars(text.data(), end, result);
  if (error != std::errc() || stop != end) return false;
  *number = result;
  return true;
}

/// Whether a URL is absolute and its scheme is http or https.
bool IsHttpUrl(const std::string& url);

/// Replaces control characters with `\n`, `\t` or `\xHH`: the result is one line and cannot control
/// a terminal.
std::string EscapeControlCharacters(std::string_view text);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_STRINGS_H_
