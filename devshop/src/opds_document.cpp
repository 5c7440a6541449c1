#include "opds_document.h"

#include <sstream>

#include "hosts.h"

namespace devshop {

pugi::xml_node AddElement(pugi::xml_node parent, const char* name, const std::string& text,
                          Attributes attributes) {
  pugi::xml_node node = parent.append_child(name);
  for (const auto& [key, value] : attributes) node.append_attribute(key) = value.c_str();
  if (!text.empty()) node.text() = text.c_str();
  return node;
}

pugi::xml_node AddLink(pugi::xml_node parent, const std::string& rel, const std::string& href,
                       const std::string& type) {
  return AddElement(parent, "link", "", {{"rel", rel}, {"href", href}, {"type", type}});
}

pugi::xml_node AddFeed(pugi::xml_document& document, const FeedSettings& settings,
                       const std::string& url, const std::string& title, const std::string& type) {
  auto feed = AddElement(document, "feed", "",
                         {{"xmlns", "http://www.w3.org/2005/Atom"},
                          {"xmlns:dc", "http://purl.org/dc/terms/"},
                          {"xmlns:opds", kOpds + "2010/catalog"},
                          {"xmlns:opensearch", kOpenSearch},
                          {"xmlns:thr", "http://purl.org/syndication/thread/1.0"}});
  AddElement(feed, "id", url);
  AddElement(feed, "title", title);
  AddElement(feed, "updated", AtomTime(settings.updated));
  AddElement(AddElement(feed, "author"), "name", kShopName);
  AddLink(feed, "self", url, type);
  AddLink(feed, "start", kShopUrl + kStartPath, settings.start_type);
  AddLink(feed, "search", kShopUrl + kSearchDescriptionPath, kSearchType);
  return feed;
}

std::string AtomTime(std::string time) {
  if (time.size() != 19) return "2021-01-01T00:00:00Z";
  time[10] = 'T';
  return time + "Z";
}

std::string Serialize(const pugi::xml_document& document) {
  std::ostringstream text;
  document.save(text, "  ", pugi::format_indent, pugi::encoding_utf8);
  return text.str();
}

}  // namespace devshop
