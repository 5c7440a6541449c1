#ifndef SALTMOOR_UTILITIES_TO_LOWER_H_
#define SALTMOOR_UTILITIES_TO_LOWER_H_

#include <string>

namespace saltmoor::utilities {

/// Converts the letters A to Z to lower case; other bytes are unchanged. Independent of the locale.
/// Thread-safe.
std::string ToLower(const std::string& text);

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_TO_LOWER_H_
