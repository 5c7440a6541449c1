#include "card_check.h"

#include <algorithm>
#include <regex>

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

std::string CheckExpiry(const std::string& text, std::time_t now) {
  static const std::regex form("\\s*(0?[1-9]|1[0-2])\\s*/\\s*(?:20)?(\\d\\d)\\s*");
  std::smatch match;
  if (!std::regex_match(text, match, form)) return "Enter month and year as MM/YY.";
  const auto year_and_month = "20" + match.str(2) + (match.length(1) < 2 ? "0" : "") + match.str(1);
  // A card is good to the end of its month.
  return year_and_month < FormatTime(now, "%Y%m") ? "This card has expired." : "";
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
