#ifndef DEVSHOP_MONEY_H_
#define DEVSHOP_MONEY_H_

#include <optional>
#include <string>

/// Amounts, in hundredths of the currency unit.
namespace devshop {

/// "12.99" is 1299. Empty when the string is not an amount.
std::optional<long> ParseAmount(const std::string& amount);
/// 1299 is "12.99", or "12,99" with a comma as the separator.
std::string FormatAmount(long hundredths, char separator = '.');
/// 1299 is "12,99 EUR".
std::string FormatPrice(long hundredths, const std::string& currency);

}  // namespace devshop

#endif  // DEVSHOP_MONEY_H_
