#include "card_check.h"

#include <algorithm>
#include <boost/algorithm/string/trim.hpp>

namespace devshop {
namespace {

/// Drops the blanks and dashes by which people group digits.
std::string StripGrouping(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '-'; });
  return text;
}

bool IsDigits(const std::string& text, std::size_t least, std::size_t most) {
  return text.size() >= least && text.size() <= most &&
         text.find_first_not_of("0123456789") == std::string::npos;
}

bool PassesLuhn(const std::string& digits) {
  int sum = 0;
  bool doubled = false;
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, doubled = !doubled) {
    const int value = (*digit - '0') * (doubled ? 2 : 1);
    sum += value / 10 + value % 10;
  }
  return sum % 10 == 0;
}

/// Accepts M/YY, MM/YY and a year of four digits, with blanks around each part.
std::string CheckExpiry(const std::string& text, std::time_t now) {
  const std::string mistake = "Enter month and year as MM/YY.";
  const auto slash = text.find('/');
  if (slash == std::string::npos) return mistake;
  std::string month = boost::algorithm::trim_copy(text.substr(0, slash));
  std::string year = boost::algorithm::trim_copy(text.substr(slash + 1));
  if (month.size() == 1) month.insert(0, "0");
  if (year.size() == 2) year.insert(0, "20");
  if (!IsDigits(month, 2, 2) || month < "01" || month > "12" || !IsDigits(year, 4, 4) ||
      !year.starts_with("20")) {
    return mistake;
  }
  // A card is good to the end of its month.
  return year + month < FormatTime(now, "%Y%m") ? "This card has expired." : "";
}

}  // namespace

std::map<std::string, std::string> CheckCard(const Fields& form, std::time_t now) {
  std::map<std::string, std::string> wrong;
  const auto number = StripGrouping(GetField(form, "card_number"));
  if (GetField(form, "card_holder").find_first_not_of(' ') == std::string::npos) {
    wrong["card_holder"] = "Enter the name on the card.";
  }
  if (!IsDigits(number, 12, 19)) {
    wrong["card_number"] = "Enter the 12 to 19 digits of the card number.";
  } else if (!PassesLuhn(number)) {
    wrong["card_number"] = "This is no card number; please check the digits.";
  }
  if (const auto expiry = CheckExpiry(GetField(form, "card_expiry"), now); !expiry.empty()) {
    wrong["card_expiry"] = expiry;
  }
  if (!IsDigits(GetField(form, "card_cvc"), 3, 4)) wrong["card_cvc"] = "Enter the 3 or 4 digits.";
  return wrong;
}

}  // namespace devshop
