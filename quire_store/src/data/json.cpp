#include "json.h"

#include <json/reader.h>
#include <json/writer.h>
#include <locale.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <sstream>

namespace saltmoor::quire {
namespace {

// While one exists, this thread reads and writes numbers as in the C locale.
class ScopedCNumericLocale {
 public:
  ScopedCNumericLocale() : previous_(uselocale(CLocale())) {}
  ScopedCNumericLocale(const ScopedCNumericLocale&) = delete;
  ScopedCNumericLocale& operator=(const ScopedCNumericLocale&) = delete;
  ~ScopedCNumericLocale() { uselocale(previous_); }

 private:
  static locale_t CLocale() {
    static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return c_locale;
  }

  const locale_t previous_;
};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::size_t SkipDigits(std::string_view text, std::size_t from) {
  while (from < text.size() && IsDigit(text[from])) ++from;
  return from;
}

bool HasAnyAt(std::string_view text, std::size_t at, std::string_view characters) {
  return at < text.size() && characters.find(text[at]) != std::string_view::npos;
}

std::size_t EndOfString(std::string_view text, std::size_t quote) {
  std::size_t i = quote + 1;
  while (i < text.size() && text[i] != '"') i += text[i] == '\\' ? 2 : 1;
  return std::min(i + 1, text.size());
}

std::size_t EndOfNumber(std::string_view text, std::size_t from) {
  std::size_t end = SkipDigits(text, from);
  if (HasAnyAt(text, end, ".")) end = SkipDigits(text, end + 1);
  if (!HasAnyAt(text, end, "eE")) return end;
  ++end;
  if (HasAnyAt(text, end, "+-")) ++end;
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

std::string RemoveDecimalPoint(std::string number) {
  constexpr long kMaxExponent = 1'000'000'000;
  const std::size_t point = number.find('.');
  if (point == std::string::npos) return number;
  const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
  long exponent = 0;
  if (mark < number.size()) {
    if (!IsDigit(number.back())) return number;
    exponent = std::clamp(std::strtol(number.c_str() + mark + 1, nullptr, 10), -kMaxExponent,
                          kMaxExponent);
  }
  exponent -= static_cast<long>(mark - point - 1);
  return number.substr(0, point) + number.substr(point + 1, mark - point - 1) + "e" +
         std::to_string(exponent);
}

// The same document with every real number in a form that is read alike in all locales: 125e-1 for
// 12.5. Whatever is not a well-formed number stays as it is.
std::string RemoveDecimalPoints(std::string_view json) {
  std::string out;
  out.reserve(json.size() + 16);
  for (std::size_t begin = 0; begin < json.size();) {
    const std::size_t end = EndOfToken(json, begin);
    const std::string_view token = json.substr(begin, end - begin);
    out += IsDigit(token.front()) ? RemoveDecimalPoint(std::string(token)) : token;
    begin = end;
  }
  return out;
}

}  // namespace

bool ParseJson(std::string_view text, Json::Value& value) {
  value = Json::Value();
  // The reader makes a stream for each real number, and streams take the global C++ locale.
  std::string rewritten;
  if (std::locale() != std::locale::classic()) text = rewritten = RemoveDecimalPoints(text);
  if (text.empty()) return false;
  try {
    return Json::Reader().parse(text.data(), text.data() + text.size(), value, true);
  } catch (const Json::Exception&) {  // nesting too deep
    return false;
  }
}

std::string SerializeJson(const Json::Value& value) {
  const ScopedCNumericLocale c_locale;
  std::ostringstream out;
  out << value;
  return out.str();
}

std::string SerializeStyledJson(const Json::Value& value) {
  const ScopedCNumericLocale c_locale;
  return Json::StyledWriter().write(value);
}

const Json::Value* FindMember(const Json::Value& value, std::string_view key) {
  return value.isObject() ? value.find(key.data(), key.data() + key.size()) : nullptr;
}

const Json::Value& Member(const Json::Value& value, std::string_view key) {
  const Json::Value* const member = FindMember(value, key);
  return member != nullptr ? *member : Json::Value::nullSingleton();
}

std::optional<std::int64_t> SignedInteger(const Json::Value& value) {
  if (value.type() == Json::intValue) return value.asInt64();
  // The reader types every integer above this as unsigned.
  constexpr auto kMaxReadAsSigned = static_cast<Json::LargestUInt>(Json::Value::maxInt);
  if (value.type() == Json::uintValue && value.asLargestUInt() > kMaxReadAsSigned &&
      value.isInt64()) {
    return value.asInt64();
  }
  return std::nullopt;
}

std::string ToString(const Json::Value& value) {
  if (value.isString()) return value.asString();
  if (value.isBool()) return value.asBool() ? "true" : "false";
  if (const auto integer = SignedInteger(value)) return std::to_string(*integer);
  return {};  // Compatibility: prices and ids come as strings or integers, never as real numbers.
}

std::string ConvertToString(const Json::Value& value) {
  const ScopedCNumericLocale c_locale;
  return value.isArray() || value.isObject() ? std::string() : value.asString();
}

double ParseNumber(const std::string& text) {
  const ScopedCNumericLocale c_locale;
  const double number = std::strtod(text.c_str(), nullptr);
  return std::isfinite(number) ? number : 0.0;
}

std::string FormatNumber(double number) {
  const ScopedCNumericLocale c_locale;
  char text[32];
  std::snprintf(text, sizeof text, "%g", number);
  return text;
}

}  // namespace saltmoor::quire
