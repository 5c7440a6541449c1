#include "platform/linux/common/strings.h"

#include <strings.h>

#include <cstdio>

namespace saltmoor::platform {
namespace {

std::string EscapeControlCharacter(unsigned char c) {
  if (c == '\n') return "\\n";
  if (c == '\r') return "\\r";
  if (c == '\t') return "\\t";
  char text[5];
  std::snprintf(text, sizeof text, "\\x%02x", c);
  return text;
}

}  // namespace

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

bool IsHttpUrl(const std::string& url) {
  return strncasecmp(url.c_str(), "http://", 7) == 0 ||
         strncasecmp(url.c_str(), "https://", 8) == 0;
}

std::string EscapeControlCharacters(std::string_view text) {
  std::string line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    if (c < 0x20 || c == 0x7f) {
      line += EscapeControlCharacter(c);
    } else if (c == 0xc2 && next >= 0x80 && next < 0xa0) {  // a control character in UTF-8
      line += EscapeControlCharacter(next);
      ++i;
    } else {
      line += text[i];
    }
  }
  return line;
}

}  // namespace saltmoor::platform
