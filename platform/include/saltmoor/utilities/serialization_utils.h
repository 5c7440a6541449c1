#ifndef SALTMOOR_UTILITIES_SERIALIZATION_UTILS_H_
#define SALTMOOR_UTILITIES_SERIALIZATION_UTILS_H_

#include <string>

namespace saltmoor::utilities {

/// String helpers. Thread-safe.
class SerializationUtils {
 public:
  /// Removes white space from both ends: space, tab, line feed, vertical tab, form feed and
  /// carriage return. Independent of the locale.
  static std::string trim(const std::string& text);
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_SERIALIZATION_UTILS_H_
