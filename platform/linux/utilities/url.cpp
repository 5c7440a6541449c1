#include "saltmoor/utilities/url.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace saltmoor::utilities {
namespace {

std::string Decode(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char byte = 0;
    const char* const digits = text.data() + i + 1;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
      decoded += static_cast<char>(byte);
      i += 2;
    } else {
      decoded += text[i] == '+' ? ' ' : text[i];
    }
  }
  return decoded;
}

}  // namespace

Url::Url(const std::string& url) {
  const std::string before_fragment = url.substr(0, url.find('#'));
  const std::size_t mark = before_fragment.find('?');
  if (mark != std::string::npos) query_ = before_fragment.substr(mark + 1);
}

std::string Url::GetQuery() const {
  return query_;
}

std::map<std::string, std::string> Url::ParseQuery(const std::string& query) {
  std::map<std::string, std::string> fields;
  std::string_view rest = query;
  while (!rest.empty()) {
    const std::string_view field = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(field.size() + 1, rest.size()));
    if (field.empty()) continue;
    const std::string_view key = field.substr(0, field.find('='));
    const std::string_view value = field.substr(std::min(key.size() + 1, field.size()));
    fields.emplace(Decode(key), Decode(value));
  }
  return fields;
}

}  // namespace saltmoor::utilities
