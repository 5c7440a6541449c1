#include "titles_feed.h"

#include <algorithm>
#include <utility>

#include "hosts.h"
#include "money.h"
#include "unicode.h"

namespace devshop {
namespace {

constexpr char kTicketType[] = "application/vnd.adobe.adept+xml";

constexpr std::pair<SortOrder, const char*> kOrders[] = {{SortOrder::kShop, "Shop order"},
                                                         {SortOrder::kTitle, "Title"},
                                                         {SortOrder::kAuthor, "Author"},
                                                         {SortOrder::kNewest, "Newest first"},
                                                         {SortOrder::kPrice, "Price"}};

using Counts = std::map<std::string, std::size_t>;  // of titles by language or format

/// A ticket is an indirect acquisition of the book.
void AddAcquisition(pugi::xml_node entry, const Title& title) {
  auto link = AddLink(entry, kOpds + "acquisition/buy",
                      kShopUrl + kProductPath + PercentEncode(title.ean), "text/html");
  AddElement(link, "opds:price", FormatAmount(title.price_hundredths),
             {{"currencycode", title.currency}});
  auto acquired = AddElement(link, "opds:indirectAcquisition", "", {{"type", title.BareType()}});
  if (title.type == kTicketType) {
    AddElement(acquired, "opds:indirectAcquisition", "", {{"type", "application/epub+zip"}});
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
  const auto cover = kShopUrl + kCoversPath + PercentEncode(title.ean);
  AddLink(entry, kOpds + "image", cover, title.CoverType());
  AddLink(entry, kOpds + "image/thumbnail", cover, title.CoverType());
}

void AddPaging(pugi::xml_node feed, FeedAddress address, std::size_t pages) {
  const auto add = [&](const char* rel, std::size_t page) {
    address.page = page;
    AddLink(feed, rel, address.ToUrl(), kAcquisitionType);
  };
  const std::size_t page = address.page;
  add("first", 1);
  if (page > 1) add("previous", page - 1);
  if (page < pages) add("next", page + 1);
  add("last", pages);
}

pugi::xml_node AddFacet(pugi::xml_node feed, const char* group, const std::string& title,
                        const std::string& url, bool active) {
  auto link = AddLink(feed, kOpds + "facet", url, kAcquisitionType);
  link.append_attribute("title") = title.c_str();
  link.append_attribute("opds:facetGroup") = group;
  if (active) link.append_attribute("opds:activeFacet") = "true";
  return link;
}

/// The facets that set a member of the query to one of its values and, when it is set, the facet
/// that resets it.
template <typename ToTitle>
void AddFacets(pugi::xml_node feed, const char* group, FeedAddress address,
               std::string TitleQuery::*member, const Counts& counts, ToTitle to_title) {
  const std::string active = address.query.*member;
  std::size_t all = 0;
  for (const auto& [value, count] : counts) {
    all += count;
    if (value.empty()) continue;
    address.query.*member = value;
    AddFacet(feed, group, to_title(value), address.ToUrl(), value == active)
        .append_attribute("thr:count") = std::to_string(count).c_str();
  }
  if (active.empty()) return;
  (address.query.*member).clear();
  AddFacet(feed, group, "All", address.ToUrl(), false).append_attribute("thr:count") =
      std::to_string(all).c_str();
}

void AddOrders(pugi::xml_node feed, FeedAddress address) {
  const SortOrder active = address.query.order;
  for (const auto& [order, title] : kOrders) {
    address.query.order = order;
    AddFacet(feed, "Sort", title, address.ToUrl(), order == active);
  }
}

}  // namespace

std::optional<std::string> TitlesFeed(const Catalogue& catalogue, const FeedSettings& settings,
                                      const FeedAddress& address) {
  const TitleMatches matches = catalogue.Search(address.query);
  const std::size_t size = settings.page_size, total = matches.titles.size();
  const std::size_t pages = std::max<std::size_t>(1, (total + size - 1) / size);
  if (address.page > pages) return std::nullopt;
  const std::size_t first = (address.page - 1) * size;

  const std::string& words = address.query.words;
  pugi::xml_document document;
  auto feed = AddFeed(document, settings, address.ToUrl(),
                      words.empty() ? kShopName : kShopName + ": " + words, kAcquisitionType);
  AddElement(feed, "opensearch:totalResults", std::to_string(total));
  AddElement(feed, "opensearch:startIndex", std::to_string(first + 1));
  AddElement(feed, "opensearch:itemsPerPage", std::to_string(size));
  AddPaging(feed, address, pages);
  FeedAddress facet = address;
  facet.page = 1;
  AddFacets(feed, "Language", facet, &TitleQuery::language, matches.by_language, LanguageName);
  AddFacets(feed, "Format", facet, &TitleQuery::format, matches.by_format, FormatName);
  AddOrders(feed, facet);
  for (auto i = first; i < std::min(total, first + size); ++i) AddEntry(feed, *matches.titles[i]);
  return Serialize(document);
}

}  // namespace devshop
