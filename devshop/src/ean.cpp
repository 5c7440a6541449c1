#include "ean.h"

namespace devshop {

std::string CompleteEan(const std::string& first_digits) {
  int sum = 0;
  for (std::size_t i = 0; i < first_digits.size(); ++i) {
    sum += (first_digits[i] - '0') * (i % 2 == 0 ? 1 : 3);
  }
  return first_digits + std::to_string((10 - sum % 10) % 10);
}

}  // namespace devshop
