#ifndef QUIRE_APPS_COMMON_OPENSEARCH_H_
#define QUIRE_APPS_COMMON_OPENSEARCH_H_

#include <string>
#include <string_view>

namespace app {

inline constexpr std::string_view kOpenSearch =  // a namespace
    "http://a9.com/-/sp"
    "ec/opensearch/1.1/";

/// A template of a search's URL with all parameters but {searchTerms} replaced: the first page,
/// UTF-8, any language. Optional ones that are unknown become empty.
/// \return empty when it has no {searchTerms}, or a required parameter that is unknown.
std::string PrepareSearchTemplate(std::string_view text, std::string_view first_page = "1",
                                  std::string_view first_index = "1");

/// Parses an OpenSearch description that was fetched from `url`.
/// \return the prepared template of the feed of titles; empty when it describes none.
/// Throws FeedError when the document is no OpenSearch description.
std::string ParseSearchDescription(std::string_view xml, const std::string& url);

/// The URL of a search: a prepared template with its {searchTerms} replaced.
std::string ExpandSearchTemplate(std::string_view prepared, const std::string& words);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_OPENSEARCH_H_
