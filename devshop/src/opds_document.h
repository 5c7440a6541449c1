#ifndef DEVSHOP_OPDS_DOCUMENT_H_
#define DEVSHOP_OPDS_DOCUMENT_H_

#include <cstddef>
#include <initializer_list>
#include <pugixml.hpp>
#include <string>
#include <utility>

/// The parts that OPDS documents share.
namespace devshop {

inline constexpr char kAcquisitionType[] =
    "application/atom+xml;profile=opds-catalog;kind=acquisition";
inline constexpr char kNavigationType[] =
    "application/atom+xml;profile=opds-catalog;kind=navigation";
inline constexpr char kSearchType[] = "application/opensearchdescription+xml";

inline const std::string kOpds = "http://opds-spec.org/";
inline const std::string kOpenSearch =
    "http://a9.com/-/sp"
    "ec/opensearch/1.1/";

using Attributes = std::initializer_list<std::pair<const char*, std::string>>;

pugi::xml_node AddElement(pugi::xml_node parent, const char* name, const std::string& text = "",
                          Attributes attributes = {});

pugi::xml_node AddLink(pugi::xml_node parent, const std::string& rel, const std::string& href,
                       const std::string& type);

/// What all feeds of a shop share.
struct FeedSettings {
  std::string start_type;   ///< MIME type of the start page
  std::string titles_path;  ///< the path of the feed of all titles
  std::string updated;      ///< when the newest title was published
  std::size_t page_size;    ///< titles per page
};

/// A feed with its namespaces, address, title and time, and the links `self`, `start` and `search`.
pugi::xml_node AddFeed(pugi::xml_document& document, const FeedSettings& settings,
                       const std::string& url, const std::string& title, const std::string& type);

/// "2021-03-15 14:30:00" is "2021-03-15T14:30:00Z"; any other text is a fixed time.
std::string AtomTime(std::string time);

std::string Serialize(const pugi::xml_document& document);

}  // namespace devshop

#endif  // DEVSHOP_OPDS_DOCUMENT_H_
