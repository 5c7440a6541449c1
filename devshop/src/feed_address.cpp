#include "feed_address.h"

#include <algorithm>
#include <array>

#include "hosts.h"
#include "number.h"

namespace devshop {
namespace {

/// The values of the parameter `sort`.
const std::array<std::string, kSortOrders> kOrderNames{"", "title", "author", "newest", "price"};

}  // namespace

std::string FeedAddress::ToUrl() const {
  const Fields parameters{{"q", query.words},
                          {"language", query.language},
                          {"format", query.format},
                          {"sort", kOrderNames[static_cast<std::size_t>(query.order)]},
                          {"page", page > 1 ? std::to_string(page) : ""}};
  std::string url = kShopUrl + path;
  char separator = '?';
  for (const auto& [name, value] : parameters) {
    if (value.empty()) continue;
    url += separator + name + "=" + PercentEncode(value);
    separator = '&';
  }
  return url;
}

std::optional<FeedAddress> ParseFeedAddress(const std::string& path, const Fields& parameters) {
  const auto order =
      std::find(kOrderNames.begin(), kOrderNames.end(), GetField(parameters, "sort"));
  const std::string page = GetField(parameters, "page");
  FeedAddress address{
      path,
      {GetField(parameters, "q"), GetField(parameters, "language"), GetField(parameters, "format"),
       static_cast<SortOrder>(order - kOrderNames.begin())},
      page.empty() ? 1 : ParseNumber(page).value_or(0)};
  if (order == kOrderNames.end() || address.page == 0) return std::nullopt;
  return address;
}

}  // namespace devshop
