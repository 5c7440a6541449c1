#include "text.h"

#include <boost/locale/utf.hpp>
#include <iterator>

namespace {

namespace utf = boost::locale::utf;

bool IsControl(utf::code_point c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
}

bool IsDirectionControl(utf::code_point c) {
  return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

}  // namespace

std::string MakePrintable(std::string_view text) {
  std::string printable;
  printable.reserve(text.size());
  while (!text.empty()) {
    const char* end = text.data();
    utf::code_point c = utf::utf_traits<char>::decode(end, text.data() + text.size());
    const bool is_valid = c != utf::illegal && c != utf::incomplete;
    if (!is_valid) c = 0xFFFD;
    if (IsControl(c)) c = ' ';
    if (!IsDirectionControl(c)) utf::utf_traits<char>::encode(c, std::back_inserter(printable));
    text.remove_prefix(is_valid ? static_cast<std::size_t>(end - text.data()) : 1);
  }
  return printable;
}

std::string NormalizeSpace(std::string_view text) {
  std::string normalized;
  for (const char c : MakePrintable(text)) {
    if (c != ' ' || (!normalized.empty() && normalized.back() != ' ')) normalized += c;
  }
  if (!normalized.empty() && normalized.back() == ' ') normalized.pop_back();
  return normalized;
}

std::string Truncate(std::string text, std::size_t max_bytes) {
  if (text.size() <= max_bytes) return text;
  while (max_bytes > 0 && (static_cast<unsigned char>(text[max_bytes]) & 0xC0) == 0x80) --max_bytes;
  text.resize(max_bytes);
  return text;
}
