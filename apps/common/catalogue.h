#ifndef QUIRE_APPS_COMMON_CATALOGUE_H_
#define QUIRE_APPS_COMMON_CATALOGUE_H_

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "opds_feed.h"

namespace app {

/// Thrown when the catalogue cannot be read. The text is for the user: what happened, and what to
/// do next.
class CatalogueError : public std::runtime_error {
 public:
  explicit CatalogueError(const std::string& text, bool server_is_unreachable = false)
      : std::runtime_error(text), is_unreachable(server_is_unreachable) {}

  bool is_unreachable;
};

/// Fetches a page of the catalogue from the shop. Throws CatalogueError.
std::string FetchPage(const std::string& url);

/// The shop's catalogue, read page by page from its start page. Keeps no state between two calls.
class Catalogue {
 public:
  /// Returns the page at an absolute URL. Throws CatalogueError.
  using Fetch = std::function<std::string(const std::string& url)>;

  explicit Catalogue(std::string start_url, Fetch fetch = FetchPage)
      : start_url_(std::move(start_url)), fetch_(std::move(fetch)) {}

  /// Reads until `visit` returns false, the catalogue ends or a limit on its size is reached. Each
  /// title with an EAN is visited once. Only pages of the start page's origin are read.
  /// \param skipped_count  receives the number of entries of unknown kinds; may be null.
  /// Throws CatalogueError when it cannot read on; entries before that have been visited.
  void Read(const std::function<bool(const CatalogueEntry&)>& visit,
            std::size_t* skipped_count = nullptr) const;

  /// Finds entries by their EANs, in no particular order. Throws CatalogueError when some are
  /// missing and the catalogue cannot be read to its end.
  std::vector<CatalogueEntry> Find(const std::vector<std::string>& eans) const;

 private:
  std::string start_url_;
  Fetch fetch_;
};

/// Whether a word that FoldCase returned occurs in the entry's title, author, subject, summary or
/// EAN.
bool Matches(const CatalogueEntry& entry, const std::string& folded_word);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_CATALOGUE_H_
