#include "json_locale.h"

#include <locale.h>

#include <algorithm>
#include <cstdlib>

#include "decimal_text.h"

namespace saltmoor::quire {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::size_t SkipDigits(std::string_view text, std::size_t from) {
  while (from < text.size() && IsDigit(text[from])) ++from;
  return from;
}

bool StandsAt(std::string_view text, std::size_t at, std::string_view any_of) {
  return at < text.size() && any_of.find(text[at]) != std::string_view::npos;
}

std::size_t EndOfString(std::string_view text, std::size_t quote) {
  std::size_t i = quote + 1;
  while (i < text.size() && text[i] != '"') i += text[i] == '\\' ? 2 : 1;
  return std::min(i + 1, text.size());
}

std::size_t EndOfNumber(std::string_view text, std::size_t from) {
  std::size_t end = SkipDigits(text, from);
  if (StandsAt(text, end, ".")) end = SkipDigits(text, end + 1);
  if (!StandsAt(text, end, "eE")) return end;
  ++end;
  if (StandsAt(text, end, "+-")) ++end;
  return SkipDigits(text, end);
}

// A string, a comment or a number; for anything else one byte.
std::size_t EndOfToken(std::string_view text, std::size_t from) {
  if (text[from] == '"') return EndOfString(text, from);
  if (IsDigit(text[from])) return EndOfNumber(text, from);
  const std::string_view opening = text.substr(from, 2);
  std::size_t end = from + 1;
  if (opening == "//") end = text.find_first_of("\r\n", from);
  if (opening == "/*") end = text.find("*/", from + 2);
  return std::min(end, text.size());
}

std::string NumberWithoutPoint(std::string number) {
  constexpr long kBeyondEveryExponent = 1'000'000'000;
  const std::size_t point = number.find('.');
  if (point == std::string::npos) return number;
  const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
  long exponent = 0;
  if (mark < number.size()) {
    if (!IsDigit(number.back())) return number;
    exponent = std::clamp(std::strtol(number.c_str() + mark + 1, nullptr, 10),
                          -kBeyondEveryExponent, kBeyondEveryExponent);
  }
  exponent -= static_cast<long>(mark - point - 1);
  return number.substr(0, point) + number.substr(point + 1, mark - point - 1) + "e" +
         std::to_string(exponent);
}

}  // namespace

std::string WithoutDecimalPoints(std::string_view json) {
  std::string out;
  out.reserve(json.size() + 16);
  for (std::size_t begin = 0; begin < json.size();) {
    const std::size_t end = EndOfToken(json, begin);
    const std::string_view token = json.substr(begin, end - begin);
    if (IsDigit(token.front())) {
      out += NumberWithoutPoint(std::string(token));
    } else {
      out += token;
    }
    begin = end;
  }
  return out;
}

DecimalPoints::DecimalPoints() : application_locale_(uselocale(CLocale())) {}

DecimalPoints::~DecimalPoints() {
  uselocale(application_locale_);
}

}  // namespace saltmoor::quire
