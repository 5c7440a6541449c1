#ifndef SALTMOOR_UTILITIES_SERIALIZATION_UTILS_H_
#define SALTMOOR_UTILITIES_SERIALIZATION_UTILS_H_

#include <string>

namespace saltmoor::utilities {

/// Text helpers. Any thread.
class SerializationUtils {
 public:
  /// The text without the white space at its two ends: blank, tab, line feed, vertical tab, form
  /// feed and carriage return, whatever the locale.
  static std::string trim(const std::string& text);
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_SERIALIZATION_UTILS_H_
