#ifndef DEVSHOP_TITLE_INDEX_H_
#define DEVSHOP_TITLE_INDEX_H_

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "title.h"

namespace devshop {

enum class SortOrder { kShop, kTitle, kAuthor, kNewest, kPrice };
constexpr std::size_t kSortOrders = 5;

/// What a reader looks for; an empty string restricts nothing.
struct TitleQuery {
  std::string words;  ///< separated by blanks; a title has each in one of its texts
  std::string language;
  std::string format;
  SortOrder order = SortOrder::kShop;
};

struct TitleMatches {
  std::vector<const Title*> titles;
  /// How many titles match when the query's language is replaced; likewise its format.
  std::map<std::string, std::size_t> by_language;
  std::map<std::string, std::size_t> by_format;
};

/// Finds titles by EAN, words, language and format. Thread-safe.
class TitleIndex {
 public:
  /// The titles must outlive the index.
  explicit TitleIndex(const std::vector<Title>& titles);

  /// Null when there is none.
  const Title* Find(std::string_view ean) const;
  /// Takes time linear in the number of titles, without sorting.
  TitleMatches Search(const TitleQuery& query) const;

 private:
  struct Entry {
    const Title* title;
    std::string text;  // what words are searched in, folded
  };

  std::vector<Entry> entries_;
  std::unordered_map<std::string_view, const Title*> by_ean_;
  std::array<std::vector<const Entry*>, kSortOrders> sorted_;
};

}  // namespace devshop

#endif  // DEVSHOP_TITLE_INDEX_H_
