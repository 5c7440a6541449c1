#ifndef QUIRE_APP_CATALOGUE_H_
#define QUIRE_APP_CATALOGUE_H_

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "command_error.h"
#include "opds_feed.h"

namespace app {

/// The shop's catalogue, read page by page from its start page. Nothing is remembered.
class Catalogue {
 public:
  /// Gets the page at an absolute address; throws CommandError when it cannot.
  using Fetch = std::function<std::string(const std::string& url)>;

  Catalogue(std::string start_url, Fetch fetch)
      : start_url_(std::move(start_url)), fetch_(std::move(fetch)) {}

  /// Reads on until `visit` returns false, the catalogue ends or it grows out of all measure. Each
  /// title with an EAN is visited once. Only pages of the start page's site are read.
  /// \param skipped_count  receives how many entries of unknown kinds were passed over; may be
  /// null. \return what cut the reading short, if anything; throws it when nothing at all was read.
  std::optional<CommandError> Read(const std::function<bool(const CatalogueEntry&)>& visit,
                                   std::size_t* skipped_count = nullptr) const;

  /// The entry with this EAN for each that the catalogue has, in no certain order. Throws
  /// CommandError when some are missing and the catalogue could not be read to its end.
  std::vector<CatalogueEntry> Find(const std::vector<std::string>& eans) const;

 private:
  std::string start_url_;
  Fetch fetch_;
};

/// Gets a page of the catalogue from the shop.
std::string FetchPage(const std::string& url);

/// Whether `word`, put through FoldCase, occurs in what the entry tells of itself.
bool Matches(const CatalogueEntry& entry, const std::string& folded_word);

}  // namespace app

#endif  // QUIRE_APP_CATALOGUE_H_
