#ifndef DEVSHOP_NUMBER_H_
#define DEVSHOP_NUMBER_H_

#include <cstddef>
#include <optional>
#include <string_view>

namespace devshop {

/// Parses decimal digits; a larger number is the largest. Empty when there is anything else.
std::optional<std::size_t> ParseNumber(std::string_view text);

}  // namespace devshop

#endif  // DEVSHOP_NUMBER_H_
