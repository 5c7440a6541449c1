#include "json_output.h"

#include <cstdio>
#include <string_view>

#include "screen.h"

namespace app {
namespace {

/// Finds a character at the start of `text` that could drive a terminal: DEL, U+0080 to U+009F, or
/// one that changes the direction of what follows. JSON itself escapes the others.
/// \return its length in bytes, 0 for any other character, and `code_point` with its number.
std::size_t MatchControl(std::string_view text, unsigned* code_point) {
  const auto byte = [&](std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
  };
  *code_point = byte(0);
  if (byte(0) == 0x7F) return 1;
  *code_point = byte(1);
  if (byte(0) == 0xC2 && byte(1) >= 0x80 && byte(1) < 0xA0) return 2;
  *code_point = 0x2000 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
  const bool is_direction = (*code_point >= 0x202A && *code_point <= 0x202E) ||
                            (*code_point >= 0x2066 && *code_point <= 0x2069);
  return byte(0) == 0xE2 && is_direction ? 3 : 0;
}

}  // namespace

std::string SerializeJson(const Json& json) {
  const std::string text = json.dump(2, ' ', false, Json::error_handler_t::replace);
  std::string out;
  out.reserve(text.size() + 1);
  for (std::size_t i = 0; i < text.size();) {
    unsigned code_point = 0;
    const std::size_t length = MatchControl(std::string_view(text).substr(i), &code_point);
    if (length == 0) {
      out += text[i++];
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", code_point);
    out += escape;
    i += length;
  }
  return out + "\n";
}

void PrintJson(const Json& json) {
  Screen::Out().Write(SerializeJson(json));
}

Json StringOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

}  // namespace app
