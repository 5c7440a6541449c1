#include "url_encoding.h"

#include <algorithm>
#include <charconv>
#include <cstring>

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

}  // namespace devshop
