#include "opds_feed.h"

#include <algorithm>
#include <initializer_list>
#include <pugixml.hpp>
#include <sstream>
#include <utility>

#include "hosts.h"
#include "money.h"
#include "number.h"
#include "timestamp.h"
#include "url_encoding.h"

namespace devshop {
namespace {

constexpr std::size_t kTitlesPerPage = 10;
constexpr char kFeedType[] = "application/atom+xml;profile=opds-catalog;kind=acquisition";
constexpr char kTicketType[] = "application/vnd.adobe.adept+xml";
const std::string kOpds = "http://opds-spec.org/";
const std::string kOpenSearch =
    "http://a9.com/-/sp"
    "ec/opensearch/1.1/";

using Attributes = std::initializer_list<std::pair<const char*, std::string>>;

pugi::xml_node AddElement(pugi::xml_node parent, const char* name, const std::string& text = "",
                          Attributes attributes = {}) {
  pugi::xml_node node = parent.append_child(name);
  for (const auto& [key, value] : attributes) node.append_attribute(key) = value.c_str();
  if (!text.empty()) node.text() = text.c_str();
  return node;
}

void AddLink(pugi::xml_node parent, const std::string& rel, const std::string& href,
             const std::string& type) {
  AddElement(parent, "link", "", {{"rel", rel}, {"href", href}, {"type", type}});
}

/// "2021-03-15 14:30:00" is "2021-03-15T14:30:00Z".
std::string AtomTime(std::string time) {
  if (time.size() != 19) return "2021-01-01T00:00:00Z";
  time[10] = 'T';
  return time + "Z";
}

/// A ticket is an indirect acquisition of the book.
void AddAcquisition(pugi::xml_node entry, const Title& title) {
  auto link = AddElement(entry, "link", "",
                         {{"rel", kOpds + "acquisition/buy"},
                          {"href", kShopUrl + kProductPath + PercentEncode(title.ean)},
                          {"type", "text/html"}});
  AddElement(link, "opds:price", FormatAmount(title.price_hundredths),
             {{"currencycode", title.currency}});
  auto got = AddElement(link, "opds:indirectAcquisition", "", {{"type", title.BareType()}});
  if (title.type == kTicketType) {
    AddElement(got, "opds:indirectAcquisition", "", {{"type", "application/epub+zip"}});
  }
}

void AddEntry(pugi::xml_node feed, const Title& title) {
  auto entry = AddElement(feed, "entry");
  AddElement(entry, "id", "urn:ean:" + title.ean);
  AddElement(entry, "title", title.title);
  if (!title.author.empty()) AddElement(AddElement(entry, "author"), "name", title.author);
  AddElement(entry, "updated", AtomTime(title.published));
  AddElement(entry, "dc:identifier", "urn:ean:" + title.ean);
  if (!title.language.empty()) AddElement(entry, "dc:language", title.language);
  if (!title.published.empty()) AddElement(entry, "dc:issued", title.published.substr(0, 10));
  if (!title.subject.empty()) {
    AddElement(entry, "category", "", {{"term", title.subject}, {"label", title.subject}});
  }
  if (!title.summary.empty()) AddElement(entry, "summary", title.summary, {{"type", "text"}});
  AddAcquisition(entry, title);
  if (!title.cover.empty()) {
    const auto cover = kShopUrl + "/covers/" + PercentEncode(title.ean);
    AddLink(entry, kOpds + "image", cover, "image/png");
    AddLink(entry, kOpds + "image/thumbnail", cover, "image/png");
  }
}

std::string PageUrl(const std::string& words, std::size_t page) {
  std::string query;
  if (!words.empty()) query += "q=" + PercentEncode(words);
  if (page > 1) query += (query.empty() ? "page=" : "&page=") + std::to_string(page);
  return kShopUrl + kStartPath + (query.empty() ? "" : "?" + query);
}

void AddPaging(pugi::xml_node feed, const std::string& words, std::size_t page, std::size_t pages) {
  AddLink(feed, "self", PageUrl(words, page), kFeedType);
  AddLink(feed, "start", PageUrl("", 1), kFeedType);
  AddLink(feed, "first", PageUrl(words, 1), kFeedType);
  if (page > 1) AddLink(feed, "previous", PageUrl(words, page - 1), kFeedType);
  if (page < pages) AddLink(feed, "next", PageUrl(words, page + 1), kFeedType);
  AddLink(feed, "last", PageUrl(words, pages), kFeedType);
  AddLink(feed, "search", kShopUrl + kSearchDescriptionPath,
          "application/opensearchdescription+xml");
  AddLink(feed, "search", kShopUrl + kStartPath + "?q={searchTerms}", "application/atom+xml");
}

std::string Serialize(const pugi::xml_document& document) {
  std::ostringstream text;
  document.save(text, "  ", pugi::format_indent, pugi::encoding_utf8);
  return text.str();
}

}  // namespace

void ServeFeed(const Catalogue& catalogue, const Request& request, Response& response) {
  const std::string words = GetField(request.query, "q");
  const auto hits = catalogue.Search(words);
  const std::size_t pages =
      std::max<std::size_t>(1, (hits.size() + kTitlesPerPage - 1) / kTitlesPerPage);
  const std::string asked = GetField(request.query, "page");
  const std::size_t page = asked.empty() ? 1 : ParseNumber(asked).value_or(0);
  if (page == 0 || page > pages) {
    return response.SetError(404, "The catalogue has pages 1 to " + std::to_string(pages) + ".");
  }

  pugi::xml_document document;
  auto feed = AddElement(document, "feed", "",
                         {{"xmlns", "http://www.w3.org/2005/Atom"},
                          {"xmlns:dc", "http://purl.org/dc/terms/"},
                          {"xmlns:opds", kOpds + "2010/catalog"},
                          {"xmlns:opensearch", kOpenSearch}});
  AddElement(feed, "id", PageUrl(words, page));
  AddElement(feed, "title", words.empty() ? kShopName : kShopName + ": " + words);
  AddElement(feed, "updated", FormatTime(std::time(nullptr), "%Y-%m-%dT%H:%M:%SZ"));
  AddElement(AddElement(feed, "author"), "name", kShopName);
  AddElement(feed, "opensearch:totalResults", std::to_string(hits.size()));
  AddElement(feed, "opensearch:startIndex", std::to_string((page - 1) * kTitlesPerPage + 1));
  AddElement(feed, "opensearch:itemsPerPage", std::to_string(kTitlesPerPage));
  AddPaging(feed, words, page, pages);
  for (auto i = (page - 1) * kTitlesPerPage; i < std::min(hits.size(), page * kTitlesPerPage);
       ++i) {
    AddEntry(feed, *hits[i]);
  }
  response.SetContent(Serialize(document), kFeedType);
}

void ServeSearchDescription(Response& response) {
  pugi::xml_document document;
  auto description = AddElement(document, "OpenSearchDescription", "", {{"xmlns", kOpenSearch}});
  AddElement(description, "ShortName", kShopName);
  AddElement(description, "Description", "Searches titles, authors, subjects and summaries");
  AddElement(description, "InputEncoding", "UTF-8");
  AddElement(description, "Url", "",
             {{"type", kFeedType}, {"template", kShopUrl + kStartPath + "?q={searchTerms}"}});
  response.SetContent(Serialize(document), "application/opensearchdescription+xml");
}

}  // namespace devshop
