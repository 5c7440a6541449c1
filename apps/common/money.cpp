#include "money.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace app {

std::string FormatPrice(std::int64_t hundredths, std::string_view currency) {
  char text[32];
  std::snprintf(text, sizeof text, "%s%lld,%02lld", hundredths < 0 ? "-" : "",
                std::llabs(hundredths / 100), std::llabs(hundredths % 100));
  std::string out = text;
  if (!currency.empty()) out.append(" ").append(currency);
  return out;
}

std::optional<std::int64_t> ParsePrice(std::string_view text) {
  constexpr std::int64_t kMaxUnits = 1'000'000'000;  // a larger number is not a price
  const std::size_t point = text.find_first_of(".,");
  const std::string_view whole = text.substr(0, point);
  std::string_view decimals = point == text.npos ? std::string_view() : text.substr(point + 1);
  std::int64_t units = 0;
  const auto [end, error] = std::from_chars(whole.data(), whole.data() + whole.size(), units);
  if (error != std::errc() || end != whole.data() + whole.size() || units < 0 ||
      units > kMaxUnits || decimals.find_first_not_of("0123456789") != decimals.npos) {
    return std::nullopt;
  }
  const auto digit = [&](std::size_t at) { return at < decimals.size() ? decimals[at] - '0' : 0; };
  return units * 100 + digit(0) * 10 + digit(1) + (digit(2) >= 5 ? 1 : 0);
}

}  // namespace app
