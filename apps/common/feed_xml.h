#ifndef QUIRE_APPS_COMMON_FEED_XML_H_
#define QUIRE_APPS_COMMON_FEED_XML_H_

#include <functional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace app {

/// An element with its namespace and base URL, as long as its parent exists. Reading one throws
/// FeedError when it has too many attributes or an undeclared prefix.
class FeedElement {
 public:
  /// The outermost element of a page that was fetched from `url`.
  FeedElement(const pugi::xml_node& root, const std::string& url);
  FeedElement(const FeedElement&) = delete;
  FeedElement& operator=(const FeedElement&) = delete;

  bool Is(std::string_view space, std::string_view name) const {
    return name_ == name && space_ == space;
  }
  std::string_view space() const { return space_; }
  /// Without its prefix.
  std::string_view name() const { return name_; }
  const pugi::xml_node& node() const { return node_; }

  /// An attribute without a namespace; empty when it is absent.
  std::string_view GetAttribute(const char* name) const { return node_.attribute(name).value(); }
  /// An attribute of a namespace; empty when it is absent.
  std::string_view GetAttribute(std::string_view space, std::string_view name) const;

  /// A URL relative to the element's base; empty when it is not an http or https URL.
  std::string Resolve(std::string_view reference) const;
  const std::string& base() const { return *base_; }

  /// The text below the element on one line, without markup, made printable; at most 64 KiB.
  std::string GetText() const;

  /// Visits the child elements. Throws FeedError when there are more than `max_count`.
  void ForEachChild(std::size_t max_count,
                    const std::function<void(const FeedElement&)>& visit) const;

 private:
  FeedElement(const FeedElement* outer, const pugi::xml_node& node, const std::string* base);

  /// The namespace of a prefix; null when it is not declared.
  const char* FindNamespace(std::string_view prefix) const;

  const FeedElement* outer_;
  pugi::xml_node node_;
  std::vector<std::pair<std::string_view, const char*>> declared_;  // namespaces by prefix
  std::string_view space_;
  std::string_view name_;
  std::string own_base_;
  const std::string* base_;
};

/// Parses a page. Throws FeedError when it is too long or not XML.
pugi::xml_document ParseFeedXml(std::string_view xml);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_FEED_XML_H_
