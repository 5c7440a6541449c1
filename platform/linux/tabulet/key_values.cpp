#include "platform/linux/tabulet/key_values.h"

#include <charconv>

namespace saltmoor::platform {
namespace {

bool IsControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

std::string Escape(const std::string& text, bool is_key) {
  static constexpr char kHexDigits[] = "0123456789ABCDEF";
  std::string line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool outer_blank = c == ' ' && (i == 0 || i + 1 == text.size());
    if (IsControl(c) || c == '%' || outer_blank || (is_key && c == '=')) {
      const auto byte = static_cast<unsigned char>(c);
      line += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    } else {
      line += c;
    }
  }
  return line;
}

/// \return false for a text that Escape does not make. A zero byte is none: it would end the text
///     in the hands of the caller.
bool Unescape(std::string_view line, std::string* text) {
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (IsControl(line[i])) return false;
    if (line[i] != '%') {
      *text += line[i];
      continue;
    }
    unsigned char byte = 0;
    const char* const digits = line.data() + i + 1;
    if (i + 2 >= line.size() || std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2 ||
        byte == 0) {
      return false;
    }
    *text += static_cast<char>(byte);
    i += 2;
  }
  return true;
}

}  // namespace

std::string SerializeKeyValues(const KeyValues& values) {
  std::string text;
  for (const auto& [key, value] : values) {
    text += Escape(key, true) + '=' + Escape(value, false) + '\n';
  }
  return text;
}

Error ParseKeyValues(std::string_view text, KeyValues* values) {
  KeyValues result;
  for (int number = 1; !text.empty(); ++number) {
    const auto fault = [number](const char* what) {
      return Error::InvalidData("line " + std::to_string(number) + " " + what);
    };
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) return fault("is cut off");
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);

    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return fault("has no '='");
    std::string key;
    std::string value;
    if (!Unescape(line.substr(0, equals), &key) || !Unescape(line.substr(equals + 1), &value)) {
      return fault("holds a control character or a broken %XX");
    }
    result[std::move(key)] = std::move(value);
  }
  *values = std::move(result);
  return {};
}

}  // namespace saltmoor::platform
