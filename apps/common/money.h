#ifndef QUIRE_APPS_COMMON_MONEY_H_
#define QUIRE_APPS_COMMON_MONEY_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace app {

/// A price as the library formats a cart's total, such as "12,99 EUR"; without a currency "12,99".
std::string FormatPrice(std::int64_t hundredths, std::string_view currency);

/// Parses a price in currency units, such as "12.99", "12,9" or "5", to hundredths; further
/// decimals are rounded. Nothing when the string is not a price.
std::optional<std::int64_t> ParsePrice(std::string_view text);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_MONEY_H_
