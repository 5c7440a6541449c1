#include "opds_feed.h"

#include <memory>
#include <pugixml.hpp>
#include <sstream>

#include "acquisition.h"
#include "money.h"
#include "text.h"
#include "url.h"

namespace app {
namespace {

constexpr std::string_view kAtom = "http://www.w3.org/2005/Atom";
constexpr std::string_view kOpds = "http://opds-spec.org/2010/catalog";
constexpr std::string_view kDcTerms = "http://purl.org/dc/terms/";
constexpr std::string_view kDcElements = "http://purl.org/dc/elements/1.1/";
constexpr std::string_view kAcquisition = "http://opds-spec.org/acquisition";
constexpr std::string_view kImage = "http://opds-spec.org/image";
constexpr std::string_view kThumbnail = "http://opds-spec.org/image/thumbnail";
constexpr std::string_view kFeedType = "application/atom+xml";
constexpr int kMaxNesting = 8;  // of indirect acquisitions
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;

std::string_view LocalName(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  return name.substr(name.find(':') + 1);  // npos + 1 is 0
}

std::string Namespace(const pugi::xml_node& node) {
  static const pugi::xpath_query kQuery("namespace-uri()");
  std::string space = kQuery.evaluate_string(node);
  const std::string_view name = node.name();
  const std::size_t colon = name.find(':');
  if (!space.empty() || colon == name.npos) return space;
  throw FeedError("it uses the prefix \"" + Truncate(MakePrintable(name.substr(0, colon)), 40) +
                  "\" without declaring it");
}

bool IsElement(const pugi::xml_node& node, std::string_view space, std::string_view name) {
  return node.type() == pugi::node_element && LocalName(node) == name && Namespace(node) == space;
}

std::string GetRawText(const pugi::xml_node& node) {
  static const pugi::xpath_query kQuery("string()");
  return kQuery.evaluate_string(node);
}

/// All text below a node without markup; a run of white space becomes one space.
std::string GetText(const pugi::xml_node& node) {
  std::string raw = GetRawText(node);
  if (std::string_view(node.attribute("type").value()) == "html") {  // escaped markup
    pugi::xml_document html;
    if (html.load_buffer(raw.data(), raw.size(), kParseOptions | pugi::parse_fragment)) {
      raw = GetRawText(html);
    }
  }
  std::string out;
  for (const char c : MakePrintable(raw)) {
    if (c != ' ' || (!out.empty() && out.back() != ' ')) out += c;
  }
  if (out.ends_with(' ')) out.pop_back();
  return out;
}

/// The EAN in an identifier such as "urn:isbn:978-0-00-000001-7"; empty when there is none.
std::string ParseEan(std::string identifier) {
  identifier.erase(0, identifier.find_last_of(":/") + 1);
  std::erase(identifier, '-');
  const bool is_number = identifier.find_first_not_of("0123456789") == identifier.npos;
  return is_number && identifier.size() >= 8 && identifier.size() <= 14 ? identifier
                                                                        : std::string();
}

using OPDS::IndirectAcquisition;

/// Converts a node with a "type" and the acquisitions nested in it.
std::unique_ptr<IndirectAcquisition> MakeAcquisition(const pugi::xml_node& node, int depth = 0) {
  auto acquisition = std::make_unique<IndirectAcquisition>(
      OPDS::AttributeMap{{"type", node.attribute("type").value()}});
  if (depth == kMaxNesting) return acquisition;
  for (const auto& child : node.children()) {
    if (!IsElement(child, kOpds, "indirectAcquisition")) continue;
    auto nested = MakeAcquisition(child, depth + 1);
    if (acquisition->addChild(nested.get())) static_cast<void>(nested.release());
  }
  return acquisition;
}

bool IsAcquisition(std::string_view relation) {
  if (!relation.starts_with(kAcquisition)) return false;
  relation.remove_prefix(kAcquisition.size());
  return relation.empty() || relation == "/buy" || relation == "/open-access" ||
         relation == "/borrow" || relation == "/subscribe";
}

void ReadPrice(const pugi::xml_node& link, CatalogueEntry& entry) {
  for (const auto& child : link.children()) {
    if (entry.price_hundredths || !IsElement(child, kOpds, "price")) continue;
    entry.price_hundredths = ParsePrice(GetText(child));
    entry.currency = MakePrintable(child.attribute("currencycode").value());
  }
}

void ReadSubject(const pugi::xml_node& category, CatalogueEntry& entry) {
  const auto label = category.attribute("label");
  const std::string text = MakePrintable((label ? label : category.attribute("term")).value());
  if (!text.empty()) entry.subject += (entry.subject.empty() ? "" : ", ") + text;
}

/// The base URL of what `node` contains.
std::string ResolveBase(const pugi::xml_node& node, const std::string& outer) {
  const auto attribute = node.attribute("xml:base");
  return attribute ? ResolveUrl(outer, attribute.value()) : outer;
}

void SetIfEmpty(std::string& field, const std::string& value) {
  if (field.empty()) field = value;
}

struct Entry {
  CatalogueEntry title;
  boost::ptr_vector<IndirectAcquisition> acquisitions;
  std::string section;
  bool is_title = false;  // has an acquisition link
  bool has_links = false;
};

void ReadLink(const pugi::xml_node& link, const std::string& base, Entry& entry) {
  const std::string_view relation = link.attribute("rel").value();
  const std::string_view type = link.attribute("type").value();
  const std::string url = ResolveUrl(base, link.attribute("href").value());
  entry.has_links = true;
  if (IsAcquisition(relation)) {
    entry.is_title = true;
    // A link to a page of the shop is not a format itself; the acquisitions nested in it are.
    auto acquisition = MakeAcquisition(link);
    const bool is_free = relation == kAcquisition || relation.ends_with("/open-access");
    if (type.starts_with("text/html") && !(is_free && acquisition->children.empty())) {
      entry.acquisitions.transfer(entry.acquisitions.end(), acquisition->children);
    } else {
      entry.acquisitions.push_back(acquisition.release());
    }
    ReadPrice(link, entry.title);
  } else if (relation == kThumbnail) {
    SetIfEmpty(entry.title.thumbnail_url, url);
  } else if (relation == kImage) {
    SetIfEmpty(entry.title.image_url, url);
  } else if (relation == "alternate" && type.starts_with("text/html")) {
    SetIfEmpty(entry.title.page_url, url);
  } else if (type.starts_with(kFeedType) && type.find("type=entry") == type.npos &&
             (relation.empty() || relation == "subsection" || relation == "collection" ||
              relation.find("/sort/") != relation.npos)) {
    SetIfEmpty(entry.section, url);
  }
}

Entry ReadEntry(const pugi::xml_node& node, const std::string& outer_base) {
  const std::string base = ResolveBase(node, outer_base);
  Entry entry;
  CatalogueEntry& title = entry.title;
  std::string id;
  for (const auto& child : node.children()) {
    if (child.type() != pugi::node_element) continue;
    const std::string_view name = LocalName(child);
    const std::string space = Namespace(child);
    if (space == kAtom) {
      if (name == "link") ReadLink(child, base, entry);
      if (name == "title") SetIfEmpty(title.title, GetText(child));
      if (name == "id") SetIfEmpty(id, GetText(child));
      if (name == "summary") SetIfEmpty(title.summary, GetText(child));
      if (name == "published") SetIfEmpty(title.published, GetText(child));
      if (name == "category") ReadSubject(child, title);
      if (name != "author") continue;
      for (const auto& part : child.children()) {
        if (!IsElement(part, kAtom, "name")) continue;
        title.author += (title.author.empty() ? "" : ", ") + GetText(part);
      }
    } else if (space == kDcTerms || space == kDcElements) {
      if (name == "identifier") SetIfEmpty(title.ean, ParseEan(GetText(child)));
      if (name == "language") SetIfEmpty(title.language, GetText(child));
      if (name == "issued") SetIfEmpty(title.published, GetText(child));
    }
  }
  if (title.ean.empty()) title.ean = ParseEan(id);
  if (!entry.acquisitions.empty()) title.type = entry.acquisitions.front().type;
  std::stringstream formats;
  saltmoor::quire::MakeFormat(formats, title.needs_adobe, entry.acquisitions);
  for (std::string format; std::getline(formats, format, ',');) title.formats.push_back(format);
  return entry;
}

}  // namespace

FeedPage ParseFeed(std::string_view xml, const std::string& url) {
  pugi::xml_document document;
  const auto read = document.load_buffer(xml.data(), xml.size(), kParseOptions);
  if (!read) {
    throw FeedError("it is not XML: " + FoldCase(read.description()) + " at byte " +
                    std::to_string(read.offset));
  }
  const pugi::xml_node root = document.document_element();
  FeedPage page;
  const auto add_entry = [&page](Entry entry) {
    if (entry.is_title) {
      page.entries.push_back(std::move(entry.title));
    } else if (!entry.section.empty()) {
      page.sections.push_back(std::move(entry.section));
    } else if (entry.has_links) {
      ++page.skipped_count;
    }
  };
  if (IsElement(root, kAtom, "entry")) {
    add_entry(ReadEntry(root, url));
    return page;
  }
  if (!IsElement(root, kAtom, "feed")) {
    throw FeedError("its outermost element is \"" + Truncate(MakePrintable(root.name()), 40) +
                    "\" and not an Atom feed");
  }
  const std::string base = ResolveBase(root, url);
  for (const auto& node : root.children()) {
    if (IsElement(node, kAtom, "entry")) {
      add_entry(ReadEntry(node, base));
    } else if (IsElement(node, kAtom, "link") && page.next_url.empty() &&
               std::string_view(node.attribute("rel").value()) == "next") {
      page.next_url = ResolveUrl(base, node.attribute("href").value());
    }
  }
  return page;
}

}  // namespace app
