#include "timestamp.h"

#include <array>

namespace devshop {

std::string FormatTime(std::time_t time, const char* format) {
  std::tm broken{};
  gmtime_r(&time, &broken);
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &broken)};
}

}  // namespace devshop
