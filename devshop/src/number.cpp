#include "number.h"

#include <charconv>
#include <limits>

namespace devshop {

std::optional<std::size_t> ParseNumber(std::string_view text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || end != text.data() + text.size()) return std::nullopt;
  return error == std::errc() ? number : std::numeric_limits<std::size_t>::max();
}

}  // namespace devshop
