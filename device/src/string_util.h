/// \file
/// String functions that the device programs share.

#ifndef DEVICE_SRC_STRING_UTIL_H_
#define DEVICE_SRC_STRING_UTIL_H_

#include <algorithm>
#include <string>
#include <string_view>

/// Converts ASCII letters to lower case.
inline std::string ToLower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return lower;
}

/// Whether the scheme is http or https.
inline bool IsWebUrl(std::string_view url) {
  const std::string start = ToLower(url.substr(0, 8));
  return start.starts_with("http://") || start == "https://";
}

#endif  // DEVICE_SRC_STRING_UTIL_H_
