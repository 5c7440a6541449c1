#ifndef QUIRE_APPS_COMMON_CATALOGUE_H_
#define QUIRE_APPS_COMMON_CATALOGUE_H_

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "catalogue_error.h"
#include "opds_feed.h"
#include "page_cache.h"

namespace app {

/// The directory of FetchPage's cache.
inline constexpr char kCatalogueCache[] = "/mnt/ext1/system/cache/quire";

/// Fetches a page of the catalogue through a cache on the device. Throws CatalogueError.
FetchedPage FetchPage(const std::string& url);

/// Which titles of the catalogue to list.
struct CatalogueQuery {
  enum class Order { kShop, kTitle, kAuthor, kPrice, kNewest };

  std::vector<std::string> sections;  ///< to enter, by title or number from 1, one in the other
  std::string words;                  ///< a title has all of them
  std::string format;                 ///< such as "epub"; empty: any
  std::string language;               ///< its code or name; empty: any
  Order order = Order::kShop;
  std::size_t first = 0;  ///< of the titles that match
  std::size_t max_count = std::numeric_limits<std::size_t>::max();
};

struct CatalogueListing {
  std::vector<CatalogueEntry> entries;
  std::vector<CatalogueSection> sections;  ///< of the feed that was entered last, unless all below
                                           ///< it had to be read
  std::optional<std::size_t> total;        ///< titles that match, when it is known
  bool has_more = false;                   ///< titles after these
  std::size_t skipped_count = 0;           ///< entries of unknown kinds
  std::optional<CatalogueError> error;     ///< why titles may be missing
};

/// The shop's catalogue. Keeps nothing between two calls. Reads only pages of the start page's
/// origin, and a bounded number of them. Not thread-safe.
class Catalogue {
 public:
  /// Returns the page at an absolute URL. Throws CatalogueError.
  using Fetch = std::function<FetchedPage(const std::string& url)>;
  /// Called before each page with the number of pages and titles that have been read.
  using Progress = std::function<void(std::size_t page_count, std::size_t title_count)>;

  explicit Catalogue(std::string start_url, Fetch fetch = FetchPage, Progress progress = nullptr)
      : start_url_(std::move(start_url)),
        fetch_(std::move(fetch)),
        progress_(std::move(progress)) {}

  /// Lists titles. The shop searches, selects and orders if its feeds say how; otherwise all pages
  /// are read for it. Without words, only as many pages are read as needed, and those of sections
  /// only if all titles are wanted. Throws CatalogueError when nothing could be listed, and
  /// SectionNotFound.
  CatalogueListing List(const CatalogueQuery& query) const;

  /// Finds entries by their EANs, in no particular order: by the shop's search, and what it does
  /// not find by reading all pages. Throws CatalogueError when some are missing and the catalogue
  /// cannot be read to its end.
  std::vector<CatalogueEntry> Find(const std::vector<std::string>& eans) const;

 private:
  class Reader;

  std::string start_url_;
  Fetch fetch_;
  Progress progress_;
};

/// Whether each of the words that FoldWords returned occurs in the entry's title, author, subject,
/// summary or EAN.
bool Matches(const CatalogueEntry& entry, const std::vector<std::string>& folded_words);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_CATALOGUE_H_
