#ifndef DEVSHOP_CATALOGUE_H_
#define DEVSHOP_CATALOGUE_H_

#include <filesystem>
#include <string>
#include <vector>

#include "title.h"
#include "title_index.h"

namespace devshop {

/// The titles of a books directory, read once, and generated ones. Thread-safe.
class Catalogue {
 public:
  /// Reads the directory's `catalogue.json` or, without one, creates a title for each book file.
  /// Generated titles follow until there are `min_titles`. Throws StartError.
  Catalogue(const std::filesystem::path& directory, std::size_t min_titles);
  Catalogue(const Catalogue&) = delete;
  Catalogue& operator=(const Catalogue&) = delete;

  /// In the shop's order.
  const std::vector<Title>& titles() const { return titles_; }
  /// Null when there is none.
  const Title* Find(std::string_view ean) const { return index_.Find(ean); }
  TitleMatches Search(const TitleQuery& query) const { return index_.Search(query); }
  std::filesystem::path Path(const std::string& file) const { return directory_ / file; }

 private:
  std::filesystem::path directory_;
  std::vector<Title> titles_;
  TitleIndex index_;
};

}  // namespace devshop

#endif  // DEVSHOP_CATALOGUE_H_
