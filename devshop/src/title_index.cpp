#include "title_index.h"

#include <algorithm>
#include <boost/algorithm/string/split.hpp>
#include <utility>

#include "unicode.h"

namespace devshop {
namespace {

/// A key by which titles are compared, smaller first.
std::string SortKey(const Title& title, SortOrder order) {
  switch (order) {
    case SortOrder::kTitle:
      return CollationKey(title.title);
    case SortOrder::kAuthor:
      return CollationKey(title.author);
    case SortOrder::kNewest:
      return title.published;
    case SortOrder::kPrice: {
      const std::string digits = std::to_string(title.price_hundredths);
      return std::string(20 - digits.size(), '0') + digits;
    }
    case SortOrder::kShop:
      break;
  }
  return {};
}

std::vector<std::string> SplitWords(const std::string& words) {
  std::vector<std::string> split;
  const std::string folded = FoldForSearch(words);
  boost::algorithm::split(split, folded, [](char c) { return c == ' ' || c == '\t'; });
  std::erase(split, "");
  return split;
}

}  // namespace

TitleIndex::TitleIndex(const std::vector<Title>& titles) {
  for (const Title& title : titles) {
    entries_.push_back(
        {&title, FoldForSearch(title.title + "\n" + title.author + "\n" + title.subject + "\n" +
                               title.summary + "\n" + title.ean)});
    by_ean_.emplace(title.ean, &title);
  }
  for (std::size_t order = 0; order < kSortOrders; ++order) {
    std::vector<std::pair<std::string, const Entry*>> keyed;
    for (const Entry& entry : entries_) {
      keyed.emplace_back(SortKey(*entry.title, static_cast<SortOrder>(order)), &entry);
    }
    const bool descending = static_cast<SortOrder>(order) == SortOrder::kNewest;
    std::stable_sort(keyed.begin(), keyed.end(), [&](const auto& one, const auto& other) {
      return descending ? other.first < one.first : one.first < other.first;
    });
    for (const auto& [key, entry] : keyed) sorted_[order].push_back(entry);
  }
}

const Title* TitleIndex::Find(std::string_view ean) const {
  const auto found = by_ean_.find(ean);
  return found == by_ean_.end() ? nullptr : found->second;
}

TitleMatches TitleIndex::Search(const TitleQuery& query) const {
  const auto words = SplitWords(query.words);
  TitleMatches matches;
  for (const Entry* entry : sorted_[static_cast<std::size_t>(query.order)]) {
    const Title& title = *entry->title;
    const bool has_words = std::all_of(words.begin(), words.end(), [&](const std::string& word) {
      return entry->text.find(word) != std::string::npos;
    });
    if (!has_words) continue;
    const bool has_language = query.language.empty() || title.language == query.language;
    const bool has_format = query.format.empty() || title.format == query.format;
    if (has_format) ++matches.by_language[title.language];
    if (has_language) ++matches.by_format[title.format];
    if (has_language && has_format) matches.titles.push_back(&title);
  }
  return matches;
}

}  // namespace devshop
