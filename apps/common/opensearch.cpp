#include "opensearch.h"

#include <array>
#include <boost/algorithm/string/replace.hpp>
#include <optional>
#include <utility>

#include "feed_xml.h"
#include "opds_feed.h"
#include "url.h"

namespace app {
namespace {

constexpr std::string_view kFeedType = "application/atom+xml";
constexpr std::string_view kSearchTerms = "{searchTerms}";
constexpr std::string_view kTitlesPerPage = "50";
constexpr std::size_t kMaxChildren = 1000;

/// The value of a parameter, which is named with "?" when it is optional; nothing when it has none.
std::optional<std::string_view> ParameterValue(std::string_view name, std::string_view first_page,
                                               std::string_view first_index) {
  const bool is_optional = name.ends_with('?');
  if (is_optional) name.remove_suffix(1);
  const std::array<std::pair<std::string_view, std::string_view>, 7> values{
      {{"searchTerms", kSearchTerms},
       {"count", kTitlesPerPage},
       {"startPage", first_page},
       {"startIndex", first_index},
       {"language", "*"},
       {"inputEncoding", "UTF-8"},
       {"outputEncoding", "UTF-8"}}};
  for (const auto& [known, value] : values) {
    if (known == name) return value;
  }
  return is_optional ? std::optional<std::string_view>("") : std::nullopt;
}

}  // namespace

std::string PrepareSearchTemplate(std::string_view text, std::string_view first_page,
                                  std::string_view first_index) {
  std::string out;
  for (std::size_t open = text.find('{'); open != text.npos; open = text.find('{')) {
    const std::size_t close = text.find('}', open);
    if (close == text.npos) return {};
    const auto value =
        ParameterValue(text.substr(open + 1, close - open - 1), first_page, first_index);
    if (!value) return {};
    out.append(text.substr(0, open)).append(*value);
    text.remove_prefix(close + 1);
  }
  out += text;
  return out.find(kSearchTerms) == out.npos ? std::string() : out;
}

std::string ParseSearchDescription(std::string_view xml, const std::string& url) {
  const pugi::xml_document document = ParseFeedXml(xml);
  const FeedElement root(document.document_element(), url);
  if (!root.Is(kOpenSearch, "OpenSearchDescription")) {
    throw FeedError("it is not an OpenSearch description");
  }
  std::string found;
  bool is_of_titles = false;
  root.ForEachChild(kMaxChildren, [&](const FeedElement& child) {
    const std::string_view type = child.GetAttribute("type");
    if (!child.Is(kOpenSearch, "Url") || !type.starts_with(kFeedType)) return;
    // A description may name feeds of other things than the catalogue's titles, too.
    const bool names_catalogue = type.find("opds-catalog") != type.npos;
    if (!found.empty() && (is_of_titles || !names_catalogue)) return;
    const auto offset = [&](const char* name) {
      const std::string_view value = child.GetAttribute(name);
      return value.empty() ? std::string_view("1") : value;
    };
    const std::string resolved = child.Resolve(child.GetAttribute("template"));
    std::string prepared =
        PrepareSearchTemplate(resolved, offset("pageOffset"), offset("indexOffset"));
    if (prepared.empty()) return;
    found = std::move(prepared);
    is_of_titles = names_catalogue;
  });
  return found;
}

std::string ExpandSearchTemplate(std::string_view prepared, const std::string& words) {
  return boost::algorithm::replace_all_copy(std::string(prepared), kSearchTerms,
                                            PercentEncode(words));
}

}  // namespace app
