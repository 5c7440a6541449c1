#include "file_names.h"

#include <string_view>
#include <utility>

#include "file_names_parts.h"

namespace saltmoor::quire {
namespace {

bool IsDropped(char c) {
  switch (c) {
    case '"':
    case '\'':
    case '*':
    case '/':
    case ':':
    case '<':
    case '>':
    case '?':
    case '\\':
    case '`':
    case '|':
      return true;
    default:
      return false;
  }
}

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
  FileNameAppender(out, max_chars, drop_hash).Append(name);
  return out;
}

void FileNameAppender::Append(std::string_view part) {
  for (const char c : part) {
    if (IsDropped(c) || (c == '#' && drop_hash_)) continue;
    if ((c == '.' || c == '#') && path_.size() == begin_) path_ += '_';
    ended_ = ended_ || c == '\0' || (StartsCharacter(c) && chars_left_ == 0);
    if (ended_) return;
    if (StartsCharacter(c)) --chars_left_;
    path_ += c;
  }
}

std::tuple<std::string, std::string> ParseToNameExtention(const std::string& path) {
  const std::size_t dot = FindExtension(path);
  if (dot == path.size()) return {path, {}};
  return {path.substr(0, dot), path.substr(dot + 1)};
}

std::size_t FindExtension(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  const bool none =
      dot == std::string::npos || dot == 0 || path.find('/', dot) != std::string::npos;
  return none ? path.size() : dot;
}

std::string ExtentionByMime(const std::string& mime) {
  for (const auto& [prefix, extension] : kMimeTable) {
    if (mime.compare(0, prefix.size(), prefix) == 0) return extension;
  }
  return {};
}

}  // namespace saltmoor::quire
