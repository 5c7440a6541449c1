#include "money.h"

#include <regex>

namespace devshop {

std::optional<long> ParseAmount(const std::string& amount) {
  static const std::regex pattern("([0-9]{1,9})(?:\\.([0-9]{1,2}))?");
  std::smatch parts;
  if (!std::regex_match(amount, parts, pattern)) return std::nullopt;
  return std::stol(parts[1]) * 100 + std::stol((parts[2].str() + "00").substr(0, 2));
}

std::string FormatAmount(long hundredths, char separator) {
  const std::string fraction = std::to_string(hundredths % 100);
  return std::to_string(hundredths / 100) + separator + (fraction.size() < 2 ? "0" : "") + fraction;
}

std::string FormatPrice(long hundredths, const std::string& currency) {
  return FormatAmount(hundredths, ',') + " " + currency;
}

}  // namespace devshop
