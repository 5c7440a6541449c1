#include "text.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/replace.hpp>
#include <boost/locale/encoding_utf.hpp>
#include <charconv>
#include <cstring>
#include <cwctype>
#include <limits>
#include <regex>

namespace devshop {
namespace {

bool IsUnreserved(char c) {
  const auto letter = c | 0x20;
  return (letter >= 'a' && letter <= 'z') || (c != '\0' && std::strchr("0123456789-._~", c));
}

std::string DecodeFormValue(std::string_view text) {
  std::string spaced(text);
  std::replace(spaced.begin(), spaced.end(), '+', ' ');
  return PercentDecode(spaced);
}

}  // namespace

std::string ToString(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Fields ParseFields(std::string_view encoded) {
  Fields fields;
  while (!encoded.empty()) {
    const auto end = std::min(encoded.find('&'), encoded.size());
    const auto pair = encoded.substr(0, end);
    encoded.remove_prefix(std::min(end + 1, encoded.size()));
    if (pair.empty()) continue;
    const auto equals = std::min(pair.find('='), pair.size());
    fields.emplace_back(DecodeFormValue(pair.substr(0, equals)),
                        DecodeFormValue(pair.substr(std::min(equals + 1, pair.size()))));
  }
  return fields;
}

std::string GetField(const Fields& fields, std::string_view name) {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const auto& candidate) { return candidate.first == name; });
  return found == fields.end() ? std::string() : found->second;
}

std::string PercentEncode(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    if (IsUnreserved(c)) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return encoded;
}

std::string PercentDecode(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned byte = 0;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(&text[i + 1], &text[i + 1] + 2, byte, 16).ptr == &text[i + 1] + 2) {
      decoded += static_cast<char>(byte);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

std::string EscapeHtml(std::string_view text) {
  std::string escaped(text);
  boost::algorithm::replace_all(escaped, "&", "&amp;");
  boost::algorithm::replace_all(escaped, "<", "&lt;");
  boost::algorithm::replace_all(escaped, ">", "&gt;");
  boost::algorithm::replace_all(escaped, "\"", "&quot;");
  boost::algorithm::replace_all(escaped, "'", "&#39;");
  return escaped;
}

std::string FoldCase(const std::string& utf8) {
  using boost::locale::conv::utf_to_utf;
  try {
    std::wstring letters = utf_to_utf<wchar_t>(utf8, boost::locale::conv::stop);
    for (wchar_t& letter : letters)
      letter = static_cast<wchar_t>(std::towlower(std::wint_t(letter)));
    return utf_to_utf<char>(letters);
  } catch (const boost::locale::conv::conversion_error&) {
    return utf8;
  }
}

std::optional<std::size_t> ParseNumber(std::string_view text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || end != text.data() + text.size()) return std::nullopt;
  return error == std::errc() ? number : std::numeric_limits<std::size_t>::max();
}

std::optional<long> ParseCents(const std::string& amount) {
  static const std::regex pattern("([0-9]{1,9})(?:\\.([0-9]{1,2}))?");
  std::smatch parts;
  if (!std::regex_match(amount, parts, pattern)) return std::nullopt;
  return std::stol(parts[1]) * 100 + std::stol((parts[2].str() + "00").substr(0, 2));
}

std::string FormatCents(long cents, char separator) {
  const std::string fraction = std::to_string(cents % 100);
  return std::to_string(cents / 100) + separator + (fraction.size() < 2 ? "0" : "") + fraction;
}

std::string FormatPrice(long cents, const std::string& currency) {
  return FormatCents(cents, ',') + " " + currency;
}

std::string FormatTime(std::time_t time, const char* format) {
  std::tm broken{};
  gmtime_r(&time, &broken);
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &broken)};
}

}  // namespace devshop
