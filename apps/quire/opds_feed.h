#ifndef QUIRE_APP_OPDS_FEED_H_
#define QUIRE_APP_OPDS_FEED_H_

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace app {

/// One title of the catalogue. What the feed does not say is empty.
struct CatalogueEntry {
  std::string ean;
  std::string title;
  std::string author;   ///< several joined with ", "
  std::string subject;  ///< several joined with ", "
  std::string summary;
  std::string language;
  std::string published;  ///< as the feed writes it
  std::optional<std::int64_t> price_hundredths;
  std::string currency;
  std::string thumbnail_url;
  std::string image_url;
  std::string page_url;
  std::string type;          ///< MIME type of what the first way to get it yields
  std::string formats;       ///< for display, such as "EPUB,PDF"
  bool needs_adobe = false;  ///< one of them is a ticket that Adobe Digital Editions fulfils
};

/// One page of an OPDS catalogue. Addresses are absolute.
struct FeedPage {
  std::vector<CatalogueEntry> entries;
  std::vector<std::string> sections;  ///< other feeds that entries of this one lead to
  std::string next_url;               ///< empty on the last page
  std::size_t skipped_count = 0;      ///< entries with links, none of a relation that is known
};

/// A page that is no catalogue feed; the text says why, as part of a sentence.
class FeedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads a page that was fetched from `url`. Elements count by namespace, whatever their prefix;
/// unknown ones and unknown link relations are passed over. Throws FeedError.
FeedPage ParseFeed(std::string_view xml, const std::string& url);

}  // namespace app

#endif  // QUIRE_APP_OPDS_FEED_H_
