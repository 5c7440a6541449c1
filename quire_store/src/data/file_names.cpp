#include "file_names.h"

#include <cstring>
#include <string_view>
#include <utility>

namespace saltmoor::quire {
namespace {

constexpr char kDroppedCharacters[] = "\"'*/:<>?\\`|";

// Compatibility: DEL does not count as a character, like a continuation byte.
bool StartsCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 127 || byte >= 0xC0;
}

// Compatibility: the first match wins, so the rows of "html" and "mobi" are never reached.
constexpr std::pair<std::string_view, const char*> kMimeTable[] = {
    {"text/plain", "txt"},
    {"text/xml", "fb2"},
    {"text/html", "htm"},
    {"text/html", "html"},
    {"application/x-chm", "chm"},
    {"text/rtf", "rtf"},
    {"application/msword", "doc"},
    {"application/x-mobipocket", "prc"},
    {"application/x-mobipocket-ebook", "mobi"},
    {"application/pdf", "pdf"},
    {"image/x-djvu", "djvu"},
    {"image/vnd.djvu", "djv"},
    {"application/epub+zip", "epub"},
    {"application/vnd.adobe.adept+xml", "acsm"},
};

}  // namespace

std::string VerifyFilename(const char* name, unsigned max_chars, bool drop_hash) {
  std::string out;
  unsigned count = 0;
  for (const char* at = name; *at != '\0'; ++at) {
    const char c = *at;
    if (std::strchr(kDroppedCharacters, c) != nullptr || (c == '#' && drop_hash)) continue;
    if ((c == '.' || c == '#') && out.empty()) out += '_';
    if (StartsCharacter(c)) {
      if (count == max_chars) break;
      ++count;
    }
    out += c;
  }
  return out;
}

std::tuple<std::string, std::string> ParseToNameExtention(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos || dot == 0 || path.find('/', dot) != std::string::npos) {
    return {path, {}};
  }
  return {path.substr(0, dot), path.substr(dot + 1)};
}

std::string ExtentionByMime(const std::string& mime) {
  for (const auto& [prefix, extension] : kMimeTable) {
    if (mime.compare(0, prefix.size(), prefix) == 0) return extension;
  }
  return {};
}

}  // namespace saltmoor::quire
