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
  std::string summary;  ///< without markup, at most 64 KiB
  std::string language;
  std::string published;  ///< as in the feed
  std::optional<std::int64_t> price_hundredths;
  std::string currency;
  std::string thumbnail_url;
  std::string image_url;
  std::string page_url;              ///< the title's page of the shop
  std::string type;                  ///< MIME type of the first acquisition
  std::vector<std::string> formats;  ///< in upper case, such as "EPUB"
  bool needs_adobe = false;          ///< one format is a ticket for Adobe Digital Editions
};

/// Another feed that an entry of a navigation feed links to.
struct CatalogueSection {
  std::string title;
  std::string summary;
  std::string url;
  bool is_order = false;  ///< titles of other sections, such as the newest or the recommended ones
};

/// A link to the feed's titles that have one property, such as a language.
struct Facet {
  std::string group;  ///< such as "Language"
  std::string title;
  std::string url;
};

/// One page of an OPDS catalogue. URLs are absolute.
struct FeedPage {
  std::string title;
  std::vector<CatalogueEntry> entries;
  std::vector<CatalogueSection> sections;
  std::vector<Facet> facets;
  std::string next_url;              ///< empty on the last page
  std::string search_url;            ///< of an OpenSearch description
  std::string search_template;       ///< of search results, when the feed has it itself
  std::optional<std::size_t> total;  ///< titles on all pages
  std::size_t skipped_count = 0;     ///< entries whose links all have unknown relations
};

/// Thrown for a page that is not a catalogue feed. The text is the reason, as a clause.
class FeedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A longer page is refused: a device has little memory.
constexpr std::size_t kMaxPage_bytes = std::size_t{10} << 20;

/// Parses a page that was fetched from `url`. Elements are recognised by namespace, whatever their
/// prefix; unknown elements and link relations are skipped. Linear in the page's length: a page
/// with more than 20,000 entries, or with an element of more attributes or children than a
/// catalogue has, is refused. Throws FeedError.
FeedPage ParseFeed(std::string_view xml, const std::string& url);

/// The EAN in an identifier such as "urn:isbn:978-0-00-000001-7", or typed with hyphens or spaces;
/// empty when there is none.
std::string ParseEan(std::string identifier);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_OPDS_FEED_H_
