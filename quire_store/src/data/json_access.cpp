#include "json_access.h"

#include <json/reader.h>

#include <charconv>
#include <exception>
#include <locale>
#include <string>

namespace saltmoor::quire {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::size_t SkipDigits(std::string_view text, std::size_t from) {
  while (from < text.size() && IsDigit(text[from])) ++from;
  return from;
}

// The end of the string or comment that begins at `from`; `from` itself where none does.
std::size_t SkipStringOrComment(std::string_view text, std::size_t from) {
  const std::size_t size = text.size();
  if (text[from] == '"') {
    std::size_t i = from + 1;
    while (i < size && text[i] != '"') i += text[i] == '\\' ? 2 : 1;
    return i < size ? i + 1 : size;
  }
  const std::string_view opening = text.substr(from, 2);
  if (opening != "//" && opening != "/*") return from;
  const std::string_view closing = opening == "//" ? "\n" : "*/";
  const std::size_t end = text.find(closing, from + 2);
  return end == std::string_view::npos ? size : end + closing.size();
}

// jsoncpp reads real numbers through a stream of the global locale, which may want a comma where
// JSON has a point and so lose the rest of a document. A number without a point, 125e-1 for 12.5,
// is the same number in every locale.
std::string WithoutDecimalPoints(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 16);
  for (std::size_t i = 0; i < text.size();) {
    if (const std::size_t end = SkipStringOrComment(text, i); end != i) {
      out.append(text.substr(i, end - i));
      i = end;
      continue;
    }
    const std::size_t point = SkipDigits(text, i);
    if (point == i || point == text.size() || text[point] != '.') {
      const std::size_t end = point == i ? i + 1 : point;
      out.append(text.substr(i, end - i));
      i = end;
      continue;
    }
    const std::size_t end = SkipDigits(text, point + 1);
    long exponent = 0;
    std::size_t next = end;
    if (next < text.size() && (text[next] == 'e' || text[next] == 'E')) {
      const bool plus = next + 1 < text.size() && text[next + 1] == '+';
      const char* const digits = text.data() + next + (plus ? 2 : 1);
      next = static_cast<std::size_t>(
          std::from_chars(digits, text.data() + text.size(), exponent).ptr - text.data());
    }
    out.append(text.substr(i, point - i)).append(text.substr(point + 1, end - point - 1));
    out.append("e").append(std::to_string(exponent - static_cast<long>(end - point - 1)));
    i = next;
  }
  return out;
}

}  // namespace

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
  constexpr auto kLargestReadAsSigned = static_cast<Json::LargestUInt>(Json::Value::maxInt);
  if (value.type() == Json::uintValue && value.asLargestUInt() > kLargestReadAsSigned &&
      value.isInt64()) {
    return value.asInt64();
  }
  return std::nullopt;
}

bool ParseJson(std::string_view text, Json::Value& value) {
  value = Json::Value();
  try {
    std::string rewritten;
    if (std::locale() != std::locale::classic()) text = rewritten = WithoutDecimalPoints(text);
    if (text.empty()) return false;
    return Json::Reader().parse(text.data(), text.data() + text.size(), value, true);
  } catch (const std::exception&) {  // nesting too deep: what was built until then stands
    return false;
  }
}

}  // namespace saltmoor::quire
