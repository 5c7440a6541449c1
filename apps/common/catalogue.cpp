#include "catalogue.h"

#include <algorithm>
#include <charconv>
#include <deque>
#include <map>
#include <set>
#include <utility>

#include "opensearch.h"
#include "search_text.h"
#include "text.h"
#include "title_order.h"
#include "url.h"

namespace app {
namespace {

constexpr std::size_t kMaxPages = 2000;
constexpr std::size_t kMaxTitles = 20'000;
constexpr std::size_t kMaxSections = 2000;
constexpr std::size_t kMaxCatalogue_bytes = std::size_t{256} << 20;
/// Up to so many titles are ordered here, by the rules of the user's language, even if the shop
/// can.
constexpr std::size_t kMaxOwnOrder = 200;

using Order = CatalogueQuery::Order;
using Visit = std::function<bool(const CatalogueEntry&)>;

CatalogueError TooLarge(const std::string& what) {
  return CatalogueError("The catalogue has more than " + what +
                        ", and the rest is left out. Contact the shop: its pages may form a loop.");
}

/// The facet of a group whose title `is_wanted`; null when there is none.
const Facet* FindFacet(const FeedPage& page, const std::vector<std::string>& groups,
                       const std::function<bool(const std::string& folded_title)>& is_wanted) {
  for (const Facet& facet : page.facets) {
    const std::string group = FoldForSearch(facet.group);
    if (std::find(groups.begin(), groups.end(), group) == groups.end() || facet.url.empty())
      continue;
    if (is_wanted(FoldForSearch(facet.title))) return &facet;
  }
  return nullptr;
}

/// The section that the user named by its number or title; an unambiguous part is enough.
const CatalogueSection& ChooseSection(const std::vector<CatalogueSection>& sections,
                                      const std::string& named) {
  std::size_t number = 0;
  const char* const end = named.data() + named.size();
  const auto read = std::from_chars(named.data(), end, number);
  if (read.ec == std::errc() && read.ptr == end && number >= 1 && number <= sections.size()) {
    return sections[number - 1];
  }
  const std::string folded = FoldForSearch(named);
  std::vector<const CatalogueSection*> similar;
  for (const CatalogueSection& section : sections) {
    const std::string title = FoldForSearch(section.title);
    if (title == folded) return section;
    if (!folded.empty() && title.find(folded) != std::string::npos) similar.push_back(&section);
  }
  if (similar.size() == 1) return *similar.front();
  throw SectionNotFound(
      (similar.empty() ? "There is no section \"" : "More than one section has \"") + named +
      "\". See the sections with \"quire catalogue\".");
}

}  // namespace

/// Fetches the pages of one listing, within the limits.
class Catalogue::Reader {
 public:
  explicit Reader(const Catalogue& catalogue)
      : catalogue_(catalogue), start_url_(ResolveUrl("", catalogue.start_url_)) {
    if (start_url_.empty()) throw CatalogueError("The shop names no catalogue. Try again later.");
  }

  FeedPage ReadStart() { return ReadSections(Get(start_url_)); }

  /// Follows a chain of section names from the start page.
  FeedPage Enter(const std::vector<std::string>& names) {
    FeedPage page = ReadStart();
    const std::pair start_search(page.search_url, page.search_template);
    for (const std::string& name : names) {
      const std::string url = ChooseSection(page.sections, name).url;
      if (!IsOwn(url)) throw SectionNotFound("The section \"" + name + "\" is not of this shop.");
      page = ReadSections(Get(url));
    }
    if (!names.empty() && start_search == std::pair(page.search_url, page.search_template)) {
      // This search finds titles of the whole shop, not of the section.
      page.search_url.clear();
      page.search_template.clear();
    }
    return page;
  }

  /// The feed of the shop's search results; nothing when the page has no search that works.
  std::optional<FeedPage> Search(const FeedPage& page, const std::string& words) {
    std::string prepared = PrepareSearchTemplate(page.search_template);
    if (prepared.empty() && IsOwn(page.search_url)) prepared = ReadDescription(page.search_url);
    const std::string url = ResolveUrl("", ExpandSearchTemplate(prepared, words));
    if (prepared.empty() || !IsOwn(url)) return std::nullopt;
    return Get(url);
  }

  /// The feed that a facet leads to; nothing without one.
  std::optional<FeedPage> Follow(const Facet* facet) {
    if (facet == nullptr || !IsOwn(facet->url)) return std::nullopt;
    return Get(facet->url);
  }

  /// Visits the titles of `page` and of those that follow it until `visit` returns false, each
  /// title with an EAN once; then, if wanted, those of the sections below. \return false when
  /// `visit` did.
  bool Walk(const FeedPage& page, bool into_sections, const Visit& visit) {
    std::deque<CatalogueSection> pending;
    if (!WalkPages(page, pending, visit)) return false;
    while (into_sections && !pending.empty()) {
      const std::string url = pending.front().url;
      pending.pop_front();
      if (!IsNew(url)) continue;
      if (!WalkPages(Get(url), pending, visit)) return false;
    }
    return true;
  }

  std::size_t skipped_count() const { return skipped_count_; }

 private:
  bool IsOwn(const std::string& url) const { return !url.empty() && IsSameOrigin(start_url_, url); }
  bool IsNew(const std::string& url) const { return IsOwn(url) && !fetched_.contains(url); }

  FeedPage Get(const std::string& url) {
    fetched_.insert(url);
    if (++page_count_ > kMaxPages) throw TooLarge(std::to_string(kMaxPages) + " pages");
    if (size_bytes_ > kMaxCatalogue_bytes) {
      throw TooLarge(std::to_string(kMaxCatalogue_bytes >> 20) + " MiB");
    }
    if (catalogue_.progress_) catalogue_.progress_(page_count_, title_count_);
    const FetchedPage fetched = catalogue_.fetch_(url);
    size_bytes_ += fetched.content.size();
    try {
      return ParseFeed(fetched.content, fetched.url);
    } catch (const FeedError& error) {
      throw CatalogueError("The catalogue's page " + url + " cannot be read: " + error.what() +
                           ". Try again later.");
    }
  }

  std::string ReadDescription(const std::string& url) try {
    const FetchedPage fetched = catalogue_.fetch_(url);
    return ParseSearchDescription(fetched.content, fetched.url);
  } catch (const FeedError&) {
    return {};
  } catch (const CatalogueError& error) {
    if (error.is_unreachable) throw;
    return {};
  }

  /// Adds the sections of the pages that follow a page of sections only.
  FeedPage ReadSections(FeedPage page) {
    while (page.entries.empty() && !page.sections.empty() && IsNew(page.next_url)) {
      FeedPage next = Get(page.next_url);
      page.next_url = std::move(next.next_url);
      page.entries = std::move(next.entries);
      std::move(next.sections.begin(), next.sections.end(), std::back_inserter(page.sections));
      if (page.sections.size() > kMaxSections) {
        throw TooLarge(std::to_string(kMaxSections) + " sections");
      }
    }
    return page;
  }

  /// Sections of titles that others have, too, are left out if there are others.
  static void AddSections(const FeedPage& page, std::deque<CatalogueSection>& pending) {
    const auto is_order = [](const CatalogueSection& section) { return section.is_order; };
    const bool only_orders = std::all_of(page.sections.begin(), page.sections.end(), is_order);
    for (const CatalogueSection& section : page.sections) {
      if (only_orders || !section.is_order) pending.push_back(section);
    }
  }

  bool WalkPages(FeedPage page, std::deque<CatalogueSection>& pending, const Visit& visit) {
    while (true) {
      skipped_count_ += page.skipped_count;
      AddSections(page, pending);
      if (pending.size() > kMaxSections) throw TooLarge(std::to_string(kMaxSections) + " sections");
      for (const CatalogueEntry& entry : page.entries) {
        if (!entry.ean.empty() && !seen_eans_.insert(entry.ean).second) continue;
        if (++title_count_ > kMaxTitles) throw TooLarge(std::to_string(kMaxTitles) + " titles");
        if (!visit(entry)) return false;
      }
      if (!IsNew(page.next_url)) return true;
      page = Get(std::string(page.next_url));
    }
  }

  const Catalogue& catalogue_;
  std::string start_url_;
  std::set<std::string> fetched_;
  std::set<std::string> seen_eans_;
  std::size_t page_count_ = 0;
  std::size_t title_count_ = 0;
  std::size_t size_bytes_ = 0;
  std::size_t skipped_count_ = 0;
};

CatalogueListing Catalogue::List(const CatalogueQuery& query) const {
  Reader reader(*this);
  FeedPage page = reader.Enter(query.sections);
  std::vector<std::string> words = FoldWords(query.words);
  std::string format = FoldForSearch(query.format);
  std::string language = query.language;
  Order order = query.order;

  // What the shop does for us need not be done here.
  const auto replace = [&page](std::optional<FeedPage> by) {
    if (by) page = std::move(*by);
    return by.has_value();
  };
  if (!words.empty() && replace(reader.Search(page, query.words))) words.clear();
  const auto has_format = [&](const std::string& title) { return title == format; };
  if (!format.empty() &&
      replace(reader.Follow(FindFacet(page, {"format", "formats", "file format"}, has_format)))) {
    format.clear();
  }
  const auto has_language = [&](const std::string& title) {
    return title == FoldForSearch(language) || IsLanguage(language, title);
  };
  if (!language.empty() &&
      replace(reader.Follow(FindFacet(page, {"language", "languages"}, has_language)))) {
    language.clear();
  }
  const bool orders_itself = (order == Order::kTitle || order == Order::kAuthor) &&
                             page.total.value_or(kMaxTitles) <= kMaxOwnOrder;
  const auto has_order = [&](const std::string& title) { return IsOrderName(title, order); };
  if (order != Order::kShop && !orders_itself &&
      replace(
          reader.Follow(FindFacet(page, {"sort", "sort by", "order", "order by"}, has_order)))) {
    order = Order::kShop;
  }

  const bool selects = !words.empty() || !format.empty() || !language.empty();
  const bool reads_all = selects || order != Order::kShop ||
                         query.max_count == std::numeric_limits<std::size_t>::max();
  CatalogueListing listing;
  if (!reads_all) {
    listing.sections = page.sections;
    listing.total = page.total;
  }
  std::map<std::string, bool> is_wanted_language;  // by code
  const auto has_wanted_language = [&](const std::string& code) {
    const auto known = is_wanted_language.find(code);
    if (known != is_wanted_language.end()) return known->second;
    return is_wanted_language[code] = IsLanguage(code, language);
  };
  const std::size_t end =
      reads_all ? query.max_count : query.first + query.max_count;  // of the titles to read
  std::vector<CatalogueEntry>& entries = listing.entries;
  try {
    const bool is_whole = reader.Walk(page, reads_all, [&](const CatalogueEntry& entry) {
      if (!reads_all && entries.size() == end) return false;
      const bool matches = Matches(entry, words) && HasFormat(entry, format) &&
                           (language.empty() || has_wanted_language(entry.language));
      if (matches) entries.push_back(entry);
      // The shop's total spares reading a page to see whether there are more.
      return reads_all || entries.size() < end || !listing.total || *listing.total <= end;
    });
    listing.has_more = !is_whole;
    if (is_whole) listing.total = entries.size();
  } catch (const CatalogueError& error) {
    if (entries.empty()) throw;
    listing.error = error;
  }
  SortTitles(entries, order);
  listing.skipped_count = reader.skipped_count();
  if (entries.size() > query.first && entries.size() - query.first > query.max_count) {
    entries.resize(query.first + query.max_count);
    listing.has_more = true;
  }
  entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(
                                                       std::min(query.first, entries.size())));
  return listing;
}

std::vector<CatalogueEntry> Catalogue::Find(const std::vector<std::string>& eans) const {
  std::set<std::string> missing(eans.begin(), eans.end());
  std::vector<CatalogueEntry> found;
  const auto keep = [&](const CatalogueEntry& entry) {
    if (missing.erase(entry.ean) > 0) found.push_back(entry);
    return !missing.empty();
  };
  if (missing.empty()) return found;
  Reader reader(*this);
  const FeedPage start = reader.ReadStart();
  for (const std::string& ean : eans) {
    const auto results = reader.Search(start, ean);
    if (!results) break;
    for (const CatalogueEntry& entry : results->entries) keep(entry);
  }
  if (!missing.empty()) reader.Walk(start, true, keep);
  return found;
}

FetchedPage FetchPage(const std::string& url) {
  static PageCache cache(kCatalogueCache);
  return cache.Fetch(url);
}

bool Matches(const CatalogueEntry& entry, const std::vector<std::string>& folded_words) {
  if (folded_words.empty()) return true;
  const std::string all = FoldForSearch(entry.title + "\n" + entry.author + "\n" + entry.subject +
                                        "\n" + entry.summary + "\n" + entry.ean);
  return std::all_of(folded_words.begin(), folded_words.end(), [&](const std::string& word) {
    if (all.find(word) != std::string::npos) return true;
    const std::string ean = ParseEan(word);  // typed with hyphens
    return !ean.empty() && ean == entry.ean;
  });
}

}  // namespace app
