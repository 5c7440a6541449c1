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

std::size_t EndOfString(std::string_view text, std::size_t quote) {
  std::size_t i = quote + 1;
  while (i < text.size() && text[i] != '"') i += text[i] == '\\' ? 2 : 1;
  return i + 1;
}

// Appends what follows the decimal point of a number, as digits and an exponent: "5e-1" for ".5".
// \return the end of the number.
std::size_t AppendFraction(std::string_view json, std::size_t point, std::string& out) {
  constexpr long kMaxExponent = 1'000'000'000;
  const auto skip = [json](const char* characters, std::size_t from) {
    return std::min(json.find_first_not_of(characters, from), json.size());
  };
  std::size_t end = skip("0123456789", point + 1);
  const std::string_view digits = json.substr(point + 1, end - point - 1);
  long exponent = 0;
  if (end < json.size() && (json[end] == 'e' || json[end] == 'E')) {
    const std::size_t begin = end + 1;
    end = skip("+-0123456789", begin);
    exponent = std::strtol(std::string(json.substr(begin, end - begin)).c_str(), nullptr, 10);
  }
  if (!IsDigit(json[end - 1])) {  // not well-formed: stays as it is
    out += json.substr(point, end - point);
    return end;
  }
  exponent = std::clamp(exponent, -kMaxExponent, kMaxExponent) - static_cast<long>(digits.size());
  out.append(digits).append("e").append(std::to_string(exponent));
  return end;
}

// The same document with every real number in a form that reads the same in all locales: 125e-1 for
// 12.5.
std::string RemoveDecimalPoints(std::string_view json) {
  std::string out;
  for (std::size_t begin = 0; begin < json.size();) {
    std::size_t end = begin + 1;
    if (json[begin] == '.' && begin > 0 && IsDigit(json[begin - 1])) {
      begin = AppendFraction(json, begin, out);
      continue;
    }
    if (json[begin] == '"') end = EndOfString(json, begin);
    if (json.substr(begin, 2) == "//") end = json.find_first_of("\r\n", begin);
    if (json.substr(begin, 2) == "/*") end = json.find("*/", begin + 2);
    end = std::min(end, json.size());
    out += json.substr(begin, end - begin);
    begin = end;
  }
  return out;
}

// Compatibility: the form of the cart files on devices.
std::string WriteStyled(const Json::Value& value) {
  std::string text = Json::StyledWriter().write(value);
  text.pop_back();  // the end of the line
  return text;
}

}  // namespace

bool ParseJson(std::string_view text, Json::Value& value) {
  value = Json::Value();
  // The reader creates a stream for each real number, and streams take the global C++ locale.
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

void AppendQuoted(const std::string& text, std::string& out) {
  const bool plain = std::all_of(text.begin(), text.end(), [](char c) {
    return c >= ' ' && c < '\x7f' && c != '"' && c != '\\';
  });
  if (plain) {
    out.append("\"").append(text).append("\"");
  } else {
    out += WriteStyled(text);
  }
}

std::string FormatReal(double number) {
  const ScopedCNumericLocale c_locale;
  return WriteStyled(number);
}

const Json::Value* FindMember(const Json::Value& value, std::string_view key) {
  return value.isObject() ? value.find(key.data(), key.data() + key.size()) : nullptr;
}

const Json::Value& GetMember(const Json::Value& value, std::string_view key) {
  const Json::Value* const member = FindMember(value, key);
  return member != nullptr ? *member : Json::Value::nullSingleton();
}

std::optional<std::int64_t> GetInt64(const Json::Value& value) {
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
  if (const auto integer = GetInt64(value)) return std::to_string(*integer);
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
