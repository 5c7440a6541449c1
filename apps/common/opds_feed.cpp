#include "opds_feed.h"

#include <algorithm>
#include <memory>
#include <sstream>

#include "acquisition.h"
#include "feed_xml.h"
#include "money.h"
#include "opensearch.h"
#include "text.h"

namespace app {
namespace {

using OPDS::IndirectAcquisition;

constexpr std::string_view kAtom = "http://www.w3.org/2005/Atom";
constexpr std::string_view kOpds = "http://opds-spec.org/2010/catalog";
constexpr std::string_view kDcTerms = "http://purl.org/dc/terms/";
constexpr std::string_view kDcElements = "http://purl.org/dc/elements/1.1/";
constexpr std::string_view kAcquisition = "http://opds-spec.org/acquisition";
constexpr std::string_view kImage = "http://opds-spec.org/image";
constexpr std::string_view kThumbnail = "http://opds-spec.org/image/thumbnail";
constexpr std::string_view kFacet = "http://opds-spec.org/facet";
constexpr std::string_view kFeedType = "application/atom+xml";
constexpr std::string_view kSearchType = "application/opensearchdescription+xml";

constexpr std::size_t kMaxEntries = 20'000;
constexpr std::size_t kMaxFeedChildren = kMaxEntries + 10'000;  // facets and other links
constexpr std::size_t kMaxEntryChildren = 1000;
constexpr std::size_t kMaxLinkChildren = 100;
constexpr int kMaxNesting = 8;  // of indirect acquisitions

/// Converts a link or an indirect acquisition with the acquisitions nested in it.
std::unique_ptr<IndirectAcquisition> MakeAcquisition(const FeedElement& element, int depth = 0) {
  auto acquisition = std::make_unique<IndirectAcquisition>(
      OPDS::AttributeMap{{"type", std::string(element.GetAttribute("type"))}});
  if (depth == kMaxNesting) return acquisition;
  element.ForEachChild(kMaxLinkChildren, [&](const FeedElement& child) {
    if (!child.Is(kOpds, "indirectAcquisition")) return;
    auto nested = MakeAcquisition(child, depth + 1);
    if (acquisition->addChild(nested.get())) static_cast<void>(nested.release());
  });
  return acquisition;
}

bool IsAcquisition(std::string_view relation) {
  if (!relation.starts_with(kAcquisition)) return false;
  relation.remove_prefix(kAcquisition.size());
  return relation.empty() || relation == "/buy" || relation == "/open-access" ||
         relation == "/borrow" || relation == "/subscribe";
}

/// Relations of links to titles that other sections have, too.
bool IsOrderRelation(std::string_view relation) {
  constexpr std::string_view kPrefix = "http://opds-spec.org/";
  if (!relation.starts_with(kPrefix)) return false;
  relation.remove_prefix(kPrefix.size());
  return relation.starts_with("sort/") || relation == "featured" || relation == "recommended";
}

bool IsSectionLink(std::string_view relation, std::string_view type) {
  if (relation == "subsection" && type.empty()) return true;
  const bool is_feed = type.starts_with(kFeedType) && type.find("type=entry") == type.npos;
  return is_feed && (relation.empty() || relation == "subsection" || relation == "collection" ||
                     IsOrderRelation(relation));
}

void SetIfEmpty(std::string& field, const std::string& value) {
  if (field.empty()) field = value;
}

void AppendToList(std::string& list, const std::string& value) {
  if (!value.empty()) list += (list.empty() ? "" : ", ") + value;
}

/// Reads an entry of a feed, which is a title or a section.
class EntryReader {
 public:
  explicit EntryReader(const FeedElement& entry) {
    entry.ForEachChild(kMaxEntryChildren, [this](const FeedElement& child) {
      if (child.space() == kAtom) ReadAtom(child);
      if (child.space() == kDcTerms || child.space() == kDcElements) ReadDublinCore(child);
    });
    SetIfEmpty(title_.ean, ParseEan(id_));
    SetIfEmpty(title_.summary, content_);
    ReadFormats();
  }

  void AddTo(FeedPage& page) {
    if (is_title_) {
      page.entries.push_back(std::move(title_));
    } else if (!section_.url.empty()) {
      section_.title = std::move(title_.title);
      section_.summary = std::move(title_.summary);
      page.sections.push_back(std::move(section_));
    } else if (has_links_) {
      ++page.skipped_count;
    }
  }

 private:
  void ReadAtom(const FeedElement& child) {
    const std::string_view name = child.name();
    if (name == "link") ReadLink(child);
    if (name == "title") SetText(title_.title, child);
    if (name == "id") SetText(id_, child);
    if (name == "summary") SetText(title_.summary, child);
    if (name == "content") SetText(content_, child);
    if (name == "published") SetText(title_.published, child);
    if (name == "category") {
      const std::string_view label = child.GetAttribute("label");
      AppendToList(title_.subject,
                   MakePrintable(label.empty() ? child.GetAttribute("term") : label));
    }
    if (name != "author") return;
    child.ForEachChild(kMaxEntryChildren, [&](const FeedElement& part) {
      if (part.Is(kAtom, "name")) AppendToList(title_.author, part.GetText());
    });
  }

  void ReadDublinCore(const FeedElement& child) {
    if (child.name() == "identifier" && title_.ean.empty()) title_.ean = ParseEan(child.GetText());
    if (child.name() == "language") SetText(title_.language, child);
    if (child.name() == "issued") SetText(title_.published, child);
  }

  void ReadLink(const FeedElement& link) {
    const std::string_view relation = link.GetAttribute("rel");
    const std::string_view type = link.GetAttribute("type");
    has_links_ = true;
    if (IsAcquisition(relation)) {
      ReadAcquisition(link, relation, type);
    } else if (relation == kThumbnail) {
      SetUrl(title_.thumbnail_url, link);
    } else if (relation == kImage) {
      SetUrl(title_.image_url, link);
    } else if (relation == "alternate" && type.starts_with("text/html")) {
      SetUrl(title_.page_url, link);
    } else if (IsSectionLink(relation, type) && section_.url.empty()) {
      SetUrl(section_.url, link);
      section_.is_order = IsOrderRelation(relation);
    }
  }

  /// A link to a page of the shop is not a format itself; the acquisitions nested in it are.
  void ReadAcquisition(const FeedElement& link, std::string_view relation, std::string_view type) {
    is_title_ = true;
    auto acquisition = MakeAcquisition(link);
    const bool is_page = type.starts_with("text/html");
    const bool is_free = relation == kAcquisition || relation.ends_with("/open-access");
    if (is_page) SetUrl(shop_page_, link);
    if (is_page && !(is_free && acquisition->children.empty())) {
      acquisitions_.transfer(acquisitions_.end(), acquisition->children);
    } else {
      acquisitions_.push_back(acquisition.release());
    }
    link.ForEachChild(kMaxLinkChildren, [this](const FeedElement& child) {
      if (title_.price_hundredths || !child.Is(kOpds, "price")) return;
      title_.price_hundredths = ParsePrice(child.GetText());
      if (!title_.price_hundredths) return;
      title_.currency = MakePrintable(child.GetAttribute("currencycode"));
    });
  }

  void ReadFormats() {
    SetIfEmpty(title_.page_url, shop_page_);
    if (acquisitions_.empty()) return;
    title_.type = acquisitions_.front().type;
    std::stringstream formats;
    saltmoor::quire::MakeFormat(formats, title_.needs_adobe, acquisitions_);
    std::vector<std::string>& list = title_.formats;
    for (std::string format; std::getline(formats, format, ',');) {
      if (std::find(list.begin(), list.end(), format) == list.end()) list.push_back(format);
    }
  }

  /// Sets a field to the first element's text.
  static void SetText(std::string& field, const FeedElement& element) {
    if (field.empty()) field = element.GetText();
  }
  static void SetUrl(std::string& field, const FeedElement& link) {
    if (field.empty()) field = link.Resolve(link.GetAttribute("href"));
  }

  CatalogueEntry title_;
  CatalogueSection section_;
  boost::ptr_vector<IndirectAcquisition> acquisitions_;
  std::string id_;
  std::string content_;
  std::string shop_page_;
  bool is_title_ = false;  // has an acquisition link
  bool has_links_ = false;
};

void ReadFeedLink(const FeedElement& link, FeedPage& page) {
  const std::string_view relation = link.GetAttribute("rel");
  const std::string_view type = link.GetAttribute("type");
  const std::string_view href = link.GetAttribute("href");
  if (relation == "next" && page.next_url.empty()) {
    page.next_url = link.Resolve(href);
  } else if (relation == "search" && type.starts_with(kSearchType)) {
    SetIfEmpty(page.search_url, page.search_url.empty() ? link.Resolve(href) : "");
  } else if (relation == "search" && href.find("{searchTerms}") != href.npos) {
    // Braces are no part of a URL, so the template is resolved without an expansion.
    SetIfEmpty(page.search_template, link.Resolve(href));
  } else if (relation == kFacet) {
    page.facets.push_back({MakePrintable(link.GetAttribute(kOpds, "facetGroup")),
                           MakePrintable(link.GetAttribute("title")), link.Resolve(href)});
  }
}

void ReadTotal(const FeedElement& element, FeedPage& page) {
  const std::string text = element.GetText();
  const bool is_number =
      !text.empty() && text.size() <= 9 && text.find_first_not_of("0123456789") == text.npos;
  if (is_number) page.total = std::stoul(text);
}

void ReadFeedChild(const FeedElement& child, FeedPage& page) {
  if (child.Is(kAtom, "entry")) {
    if (page.entries.size() + page.sections.size() + page.skipped_count == kMaxEntries) {
      throw FeedError("it has more than " + std::to_string(kMaxEntries) + " entries");
    }
    EntryReader(child).AddTo(page);
  } else if (child.Is(kAtom, "link")) {
    ReadFeedLink(child, page);
  } else if (child.Is(kAtom, "title") && page.title.empty()) {
    page.title = child.GetText();
  } else if (child.Is(kOpenSearch, "totalResults")) {
    ReadTotal(child, page);
  }
}

}  // namespace

std::string ParseEan(std::string identifier) {
  identifier.erase(0, identifier.find_last_of(":/") + 1);
  std::erase_if(identifier, [](char c) { return c == '-' || c == ' '; });
  const bool is_number = identifier.find_first_not_of("0123456789") == identifier.npos;
  return is_number && identifier.size() >= 8 && identifier.size() <= 14 ? identifier
                                                                        : std::string();
}

FeedPage ParseFeed(std::string_view xml, const std::string& url) {
  const pugi::xml_document document = ParseFeedXml(xml);
  const pugi::xml_node root_node = document.document_element();
  const FeedElement root(root_node, url);
  FeedPage page;
  if (root.Is(kAtom, "entry")) {
    EntryReader(root).AddTo(page);
    return page;
  }
  if (!root.Is(kAtom, "feed")) {
    throw FeedError("its outermost element is \"" +
                    Truncate(MakePrintable(std::string_view(root_node.name()).substr(0, 200)), 40) +
                    "\" and not an Atom feed");
  }
  root.ForEachChild(kMaxFeedChildren,
                    [&](const FeedElement& child) { ReadFeedChild(child, page); });
  return page;
}

}  // namespace app
