#ifndef QUIRE_APPS_COMMON_OPDS_FEED_H_
#define QUIRE_APPS_COMMON_OPDS_FEED_H_

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace app {

/// One title of the catalogue. A field that the feed does not set is empty.
struct CatalogueEntry {
  std::string ean;
  std::string title;
  std::string author;   ///< several joined with ", "
  std::string subject;  ///< several joined with ", "
  std::string summary;
  std::string language;
  std::string published;  ///< as in the feed
  std::optional<std::int64_t> price_hundredths;
  std::string currency;
  std::string thumbnail_url;
  std::string image_url;
  std::string page_url;
  std::string type;                  ///< MIME type of the first acquisition
  std::vector<std::string> formats;  ///< in upper case, such as "EPUB"
  bool needs_adobe = false;          ///< one format is a ticket for Adobe Digital Editions
};

/// One page of an OPDS catalogue. URLs are absolute.
struct FeedPage {
  std::vector<CatalogueEntry> entries;
  std::vector<std::string> sections;  ///< other feeds that entries link to
  std::string next_url;               ///< empty on the last page
  std::size_t skipped_count = 0;      ///< entries whose links all have unknown relations
};

/// Thrown for a page that is not a catalogue feed. The text is the reason, as a clause.
class FeedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Parses a page that was fetched from `url`. Elements are recognised by namespace, whatever their
/// prefix; unknown elements and link relations are skipped. Throws FeedError.
FeedPage ParseFeed(std::string_view xml, const std::string& url);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_OPDS_FEED_H_
