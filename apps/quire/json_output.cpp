#include "json_output.h"

#include <cstdio>

#include "screen.h"

namespace app {

std::string SerializeJson(const Json& json) {
  const std::string text = json.dump(2, ' ', false, Json::error_handler_t::replace);
  std::string out;
  out.reserve(text.size() + 1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    const bool is_c1_control = byte == 0xC2 && next >= 0x80 && next < 0xA0;  // U+0080 to U+009F
    if (!is_c1_control && byte != 0x7F) {
      out += text[i];
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", is_c1_control ? next : byte);
    out += escape;
    if (is_c1_control) ++i;
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
