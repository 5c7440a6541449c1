#include "saltmoor/utilities/to_lower.h"

namespace saltmoor::utilities {

std::string ToLower(const std::string& text) {
  std::string lower = text;
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

}  // namespace saltmoor::utilities
