#include "platform/linux/opds/content_range.h"

#include <strings.h>

#include <charconv>
#include <string_view>

namespace saltmoor::platform {
namespace {

bool ConsumePrefix(std::string_view* text, std::string_view prefix) {
  if (text->substr(0, prefix.size()) != prefix) return false;
  text->remove_prefix(prefix.size());
  return true;
}

bool ConsumeNumber(std::string_view* text, std::int64_t* number) {
  const auto [stop, error] = std::from_chars(text->data(), text->data() + text->size(), *number);
  if (error != std::errc() || *number < 0) return false;
  text->remove_prefix(static_cast<std::size_t>(stop - text->data()));
  return true;
}

}  // namespace

bool ParseContentRange(const char* field, ContentRange* range) {
  *range = {};
  if (!field || strncasecmp(field, "bytes ", 6) != 0) return false;
  std::string_view text(field + 6);
  ContentRange read;
  const bool has_range = !ConsumePrefix(&text, "*");
  if (has_range && !(ConsumeNumber(&text, &read.first) && ConsumePrefix(&text, "-") &&
                     ConsumeNumber(&text, &read.last) && read.first <= read.last)) {
    return false;
  }
  if (!ConsumePrefix(&text, "/") ||
      !(ConsumePrefix(&text, "*") || ConsumeNumber(&text, &read.total)))
    return false;
  if (!text.empty() || (read.total >= 0 && read.last >= read.total)) return false;
  *range = read;
  return true;
}

}  // namespace saltmoor::platform
