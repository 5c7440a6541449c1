#include "text.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/replace.hpp>
#include <charconv>
#include <cstring>
#include <cwctype>

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

bool IsNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
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
  std::string folded;
  std::mbstate_t reading{}, writing{};
  for (std::size_t at = 0; at < utf8.size();) {
    wchar_t letter = 0;
    const auto length = std::mbrtowc(&letter, &utf8[at], utf8.size() - at, &reading);
    std::array<char, 16> lower{};
    if (length == 0 || length > utf8.size()) {  // not UTF-8: the byte is kept
      folded += utf8[at++];
      reading = {};
      continue;
    }
    at += length;
    const auto lower_length = std::wcrtomb(
        lower.data(), static_cast<wchar_t>(std::towlower(static_cast<wint_t>(letter))), &writing);
    if (lower_length <= lower.size()) folded.append(lower.data(), lower_length);
  }
  return folded;
}

std::optional<long> ParseCents(const std::string& amount) {
  const auto point = amount.find('.');
  const std::string whole = amount.substr(0, point);
  const std::string fraction =
      point == std::string::npos ? "00" : (amount.substr(point + 1) + "0").substr(0, 2);
  if (!IsNumber(whole) || !IsNumber(fraction) || whole.size() > 9 || fraction.size() != 2 ||
      (point != std::string::npos && amount.size() - point > 3)) {
    return std::nullopt;
  }
  return std::stol(whole) * 100 + std::stol(fraction);
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
