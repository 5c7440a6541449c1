#include "platform/linux/opds/content_range.h"

#include <regex>

namespace saltmoor::platform {

ContentRange ParseContentRange(const std::string& value) {
  // The numbers fit an std::int64_t, and the match has a bounded length.
  static const std::regex& form = *new std::regex(
      R"(bytes (?:([0-9]{1,18})-([0-9]{1,18})|\*)/(?:([0-9]{1,18})|\*))", std::regex::icase);
  std::smatch match;
  if (!std::regex_match(value, match, form)) return {};
  const auto number = [&match](int group) -> std::int64_t {
    return match[group].matched ? std::stoll(match[group]) : -1;
  };
  const ContentRange range{number(1), number(2), number(3)};
  if (range.first > range.last || (range.total >= 0 && range.last >= range.total)) return {};
  return range;
}

}  // namespace saltmoor::platform
