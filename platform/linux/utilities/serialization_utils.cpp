#include "saltmoor/utilities/serialization_utils.h"

namespace saltmoor::utilities {

std::string SerializationUtils::trim(const std::string& text) {
  constexpr char kWhiteSpace[] = " \t\n\v\f\r";
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

}  // namespace saltmoor::utilities
