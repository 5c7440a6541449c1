#include "timestamp.h"

#include <array>

namespace devshop {
namespace {

constexpr char kHttpDate[] = "%a, %d %b %Y %H:%M:%S GMT";

}  // namespace

std::string FormatTime(std::time_t time, const char* format) {
  std::tm broken{};
  gmtime_r(&time, &broken);
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &broken)};
}

std::string FormatHttpDate(std::time_t time) {
  return FormatTime(time, kHttpDate);
}

std::optional<std::time_t> ParseHttpDate(const std::string& text) {
  std::tm broken{};
  const char* end = strptime(text.c_str(), kHttpDate, &broken);
  if (end == nullptr || *end != '\0') return std::nullopt;
  return timegm(&broken);
}

}  // namespace devshop
