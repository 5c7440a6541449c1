#ifndef SALTMOOR_UTILITIES_TO_LOWER_H_
#define SALTMOOR_UTILITIES_TO_LOWER_H_

#include <string>

namespace saltmoor::utilities {

/// The text with the letters A to Z in lower case, whatever the locale; every other byte stays.
std::string ToLower(const std::string& text);

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_TO_LOWER_H_
