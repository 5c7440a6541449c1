#include "title_order.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

#include "search_text.h"

namespace app {
namespace {

using Order = CatalogueQuery::Order;

/// Sorts by the key that `to_key` returns for an entry.
template <typename ToKey>
void SortBy(std::vector<CatalogueEntry>& entries, ToKey to_key) {
  using Key = decltype(to_key(entries.front()));
  std::vector<std::pair<Key, std::size_t>> keys;
  keys.reserve(entries.size());
  for (const CatalogueEntry& entry : entries) keys.emplace_back(to_key(entry), keys.size());
  std::sort(keys.begin(), keys.end());
  std::vector<CatalogueEntry> sorted;
  sorted.reserve(entries.size());
  for (const auto& [key, position] : keys) sorted.push_back(std::move(entries[position]));
  entries = std::move(sorted);
}

}  // namespace

void SortTitles(std::vector<CatalogueEntry>& entries, Order order) {
  if (order == Order::kTitle || order == Order::kAuthor) {
    const Collation collation;
    const bool by_author = order == Order::kAuthor;
    SortBy(entries, [&](const CatalogueEntry& entry) {
      return std::pair(collation.SortKey(by_author ? entry.author : entry.title),
                       collation.SortKey(by_author ? entry.title : entry.author));
    });
  } else if (order == Order::kPrice) {
    SortBy(entries, [](const CatalogueEntry& entry) {
      return std::tuple(!entry.price_hundredths, entry.currency,
                        entry.price_hundredths.value_or(0));
    });
  } else if (order == Order::kNewest) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const CatalogueEntry& one, const CatalogueEntry& other) {
                       return one.published > other.published;
                     });
  }
}

bool IsOrderName(const std::string& folded_name, Order order) {
  switch (order) {
    case Order::kShop:
      return false;
    case Order::kTitle:
      return folded_name == "title";
    case Order::kAuthor:
      return folded_name == "author";
    case Order::kPrice:
      return folded_name == "price";
    case Order::kNewest:
      return folded_name.starts_with("newest");
  }
  return false;
}

bool HasFormat(const CatalogueEntry& entry, const std::string& folded_format) {
  return folded_format.empty() ||
         std::any_of(entry.formats.begin(), entry.formats.end(), [&](const std::string& format) {
           return FoldForSearch(format) == folded_format;
         });
}

bool IsLanguage(const std::string& code, const std::string& named) {
  const std::vector<std::string> names = FoldLanguageNames(code);
  return std::find(names.begin(), names.end(), FoldForSearch(named)) != names.end();
}

}  // namespace app
