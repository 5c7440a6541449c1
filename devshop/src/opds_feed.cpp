#include "opds_feed.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <pugixml.hpp>
#include <sstream>
#include <utility>

#include "hosts.h"

namespace devshop {
namespace {

constexpr std::size_t kTitlesPerPage = 10;
constexpr char kFeedType[] = "application/atom+xml;profile=opds-catalog;kind=acquisition";
constexpr char kTicketType[] = "application/vnd.adobe.adept+xml";
const std::string kOpds =
    "http://opds-sp"
    "ec.org/";
const std::string kOpdsNames = kOpds + "2010/catalog";
const std::string kOpenSearch =
    "http://a9.com/-/sp"
    "ec/opensearch/1.1/";

using Attributes = std::initializer_list<std::pair<const char*, std::string>>;

pugi::xml_node add(pugi::xml_node parent, const char* name, const std::string& text = "",
                   Attributes attributes = {}) {
  pugi::xml_node node = parent.append_child(name);
  for (const auto& [key, value] : attributes) node.append_attribute(key) = value.c_str();
  if (!text.empty()) node.text() = text.c_str();
  return node;
}

void add_link(pugi::xml_node parent, const std::string& rel, const std::string& href,
              const std::string& type) {
  add(parent, "link", "", {{"rel", rel}, {"href", href}, {"type", type}});
}

/// "2021-03-15 14:30:00" as Atom writes it.
std::string atom_time(std::string time) {
  if (time.size() != 19) return "2021-01-01T00:00:00Z";
  time[10] = 'T';
  return time + "Z";
}

/// What the customer gets for the money: the file, or a ticket that is turned into it.
void add_acquisition(pugi::xml_node entry, const Title& title) {
  auto link = add(entry, "link", "",
                  {{"rel", kOpds + "acquisition/buy"},
                   {"href", kShopUrl + kStorePath + "/product/" + percent_encode(title.ean)},
                   {"type", "text/html"}});
  add(link, "opds:price", format_cents(title.price_cents), {{"currencycode", title.currency}});
  auto got = add(link, "opds:indirectAcquisition", "", {{"type", title.bare_type()}});
  if (title.type == kTicketType) {
    add(got, "opds:indirectAcquisition", "", {{"type", "application/epub+zip"}});
  }
}

void add_entry(pugi::xml_node feed, const Title& title) {
  auto entry = add(feed, "entry");
  add(entry, "id", "urn:ean:" + title.ean);
  add(entry, "title", title.title);
  if (!title.author.empty()) add(add(entry, "author"), "name", title.author);
  add(entry, "updated", atom_time(title.published));
  add(entry, "dc:identifier", "urn:ean:" + title.ean);
  if (!title.language.empty()) add(entry, "dc:language", title.language);
  if (!title.published.empty()) add(entry, "dc:issued", title.published.substr(0, 10));
  if (!title.subject.empty()) {
    add(entry, "category", "", {{"term", title.subject}, {"label", title.subject}});
  }
  if (!title.summary.empty()) add(entry, "summary", title.summary, {{"type", "text"}});
  add_acquisition(entry, title);
  if (!title.cover.empty()) {
    const auto cover = kShopUrl + "/covers/" + percent_encode(title.ean);
    add_link(entry, kOpds + "image", cover, "image/png");
    add_link(entry, kOpds + "image/thumbnail", cover, "image/png");
  }
}

std::string page_url(const std::string& words, std::size_t page) {
  std::string query;
  if (!words.empty()) query += "q=" + percent_encode(words);
  if (page > 1) query += (query.empty() ? "page=" : "&page=") + std::to_string(page);
  return kShopUrl + kStartPath + (query.empty() ? "" : "?" + query);
}

void add_paging(pugi::xml_node feed, const std::string& words, std::size_t page,
                std::size_t pages) {
  add_link(feed, "self", page_url(words, page), kFeedType);
  add_link(feed, "start", page_url("", 1), kFeedType);
  add_link(feed, "first", page_url(words, 1), kFeedType);
  if (page > 1) add_link(feed, "previous", page_url(words, page - 1), kFeedType);
  if (page < pages) add_link(feed, "next", page_url(words, page + 1), kFeedType);
  add_link(feed, "last", page_url(words, pages), kFeedType);
  add_link(feed, "search", kShopUrl + kStorePath + "/opds/search.xml",
           "application/opensearchdescription+xml");
  add_link(feed, "search", kShopUrl + kStartPath + "?q={searchTerms}", "application/atom+xml");
}

std::string written(const pugi::xml_document& document) {
  std::ostringstream text;
  document.save(text, "  ", pugi::format_indent, pugi::encoding_utf8);
  return text.str();
}

/// The page asked for, 1 when none was; 0 when it is no page number.
std::size_t page_asked(const Request& request) {
  const std::string text = field(request.query, "page");
  std::size_t page = text.empty() ? 1 : 0;
  const auto end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, page);
  return text.empty() || stopped == end ? page : 0;
}

}  // namespace

void answer_feed(const Catalogue& catalogue, const Request& request, Response& response) {
  const std::string words = field(request.query, "q");
  const auto hits = catalogue.search(words);
  const std::size_t pages =
      std::max<std::size_t>(1, (hits.size() + kTitlesPerPage - 1) / kTitlesPerPage);
  const std::size_t page = page_asked(request);
  if (page == 0 || page > pages) {
    response.status = 404;
    response.set_content("The catalogue has pages 1 to " + std::to_string(pages) + ".\n",
                         "text/plain");
    return;
  }

  pugi::xml_document document;
  auto feed = add(document, "feed", "",
                  {{"xmlns", "http://www.w3.org/2005/Atom"},
                   {"xmlns:dc", "http://purl.org/dc/terms/"},
                   {"xmlns:opds", kOpdsNames},
                   {"xmlns:opensearch", kOpenSearch}});
  add(feed, "id", page_url(words, page));
  add(feed, "title", words.empty() ? kShopName : kShopName + ": " + words);
  add(feed, "updated", format_time(std::time(nullptr), "%Y-%m-%dT%H:%M:%SZ"));
  add(add(feed, "author"), "name", kShopName);
  add(feed, "opensearch:totalResults", std::to_string(hits.size()));
  add(feed, "opensearch:startIndex", std::to_string((page - 1) * kTitlesPerPage + 1));
  add(feed, "opensearch:itemsPerPage", std::to_string(kTitlesPerPage));
  add_paging(feed, words, page, pages);
  for (auto i = (page - 1) * kTitlesPerPage; i < std::min(hits.size(), page * kTitlesPerPage);
       ++i) {
    add_entry(feed, *hits[i]);
  }
  response.set_content(written(document), kFeedType);
}

void answer_search_description(Response& response) {
  pugi::xml_document document;
  auto description = add(document, "OpenSearchDescription", "", {{"xmlns", kOpenSearch}});
  add(description, "ShortName", kShopName);
  add(description, "Description", "Searches titles, authors, subjects and summaries");
  add(description, "InputEncoding", "UTF-8");
  add(description, "Url", "",
      {{"type", kFeedType}, {"template", kShopUrl + kStartPath + "?q={searchTerms}"}});
  response.set_content(written(document), "application/opensearchdescription+xml");
}

}  // namespace devshop
