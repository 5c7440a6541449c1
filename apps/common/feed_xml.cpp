#include "feed_xml.h"

#include "html_text.h"
#include "opds_feed.h"
#include "text.h"
#include "url.h"

namespace app {
namespace {

constexpr std::size_t kMaxAttributes = 64;
constexpr std::size_t kMaxText_bytes = std::size_t{64} << 10;
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;

/// The part before the colon of "prefix:name"; empty when there is none.
std::string_view Prefix(std::string_view name) {
  const std::size_t colon = name.find(':');
  return name.substr(0, colon == name.npos ? 0 : colon);
}

std::string_view LocalName(std::string_view name) {
  return name.substr(name.find(':') + 1);  // npos + 1 is 0
}

/// Collects the text below a node, up to a limit.
class TextCollector : public pugi::xml_tree_walker {
 public:
  bool for_each(pugi::xml_node& node) override {
    if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
      text += std::string_view(node.value()).substr(0, kMaxText_bytes - text.size());
    } else if (IsBlockElement(LocalName(node.name())) && text.size() < kMaxText_bytes) {
      text += ' ';
    }
    return text.size() < kMaxText_bytes;
  }

  std::string text;
};

/// Removes a character at the end that a limit has cut.
void RemovePartOfCharacter(std::string& text) {
  const auto is_continuation = [](char byte) { return (byte & 0xC0) == 0x80; };
  while (!text.empty() && is_continuation(text.back())) text.pop_back();
  if (!text.empty() && (text.back() & 0x80) != 0) text.pop_back();
}

/// A run of white space becomes one space, at the ends none.
std::string Collapse(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c != ' ' || (!out.empty() && out.back() != ' ')) out += c;
  }
  if (out.ends_with(' ')) out.pop_back();
  return out;
}

}  // namespace

FeedElement::FeedElement(const pugi::xml_node& root, const std::string& url)
    : FeedElement(nullptr, root, &url) {}

FeedElement::FeedElement(const FeedElement* outer, const pugi::xml_node& node,
                         const std::string* base)
    : outer_(outer), node_(node), name_(LocalName(node.name())), base_(base) {
  std::size_t count = 0;
  for (const auto& attribute : node.attributes()) {
    if (++count > kMaxAttributes) {
      throw FeedError("an element has more than " + std::to_string(kMaxAttributes) + " attributes");
    }
    const std::string_view name = attribute.name();
    if (name == "xmlns") {
      declared_.emplace_back("", attribute.value());
    } else if (name.starts_with("xmlns:")) {
      declared_.emplace_back(LocalName(name), attribute.value());
    } else if (name == "xml:base") {
      own_base_ = ResolveUrl(*base, attribute.value());
      if (!own_base_.empty()) base_ = &own_base_;
    }
  }
  const std::string_view prefix = Prefix(node.name());
  const char* space = FindNamespace(prefix);
  if (space == nullptr && !prefix.empty()) {
    throw FeedError("it uses the prefix \"" + Truncate(MakePrintable(prefix.substr(0, 200)), 40) +
                    "\" without declaring it");
  }
  space_ = space == nullptr ? "" : space;
}

const char* FeedElement::FindNamespace(std::string_view prefix) const {
  for (const FeedElement* element = this; element != nullptr; element = element->outer_) {
    for (const auto& [declared, space] : element->declared_) {
      if (declared == prefix) return space;
    }
  }
  return nullptr;
}

std::string_view FeedElement::GetAttribute(std::string_view space, std::string_view name) const {
  for (const auto& attribute : node_.attributes()) {
    const std::string_view prefix = Prefix(attribute.name());
    if (prefix.empty() || LocalName(attribute.name()) != name) continue;
    const char* const found = FindNamespace(prefix);
    if (found != nullptr && found == space) return attribute.value();
  }
  return {};
}

std::string FeedElement::Resolve(std::string_view reference) const {
  return ResolveUrl(*base_, std::string(reference));
}

std::string FeedElement::GetText() const {
  TextCollector collector;
  pugi::xml_node(node_).traverse(collector);
  if (collector.text.size() == kMaxText_bytes) RemovePartOfCharacter(collector.text);
  const std::string_view type = GetAttribute("type");
  const bool is_html = type == "html" || type == "text/html";  // as escaped markup
  return Collapse(MakePrintable(is_html ? HtmlToText(collector.text) : collector.text));
}

void FeedElement::ForEachChild(std::size_t max_count,
                               const std::function<void(const FeedElement&)>& visit) const {
  std::size_t count = 0;
  for (const auto& child : node_.children()) {
    if (child.type() != pugi::node_element) continue;
    if (++count > max_count) {
      throw FeedError("an element has more than " + std::to_string(max_count) + " children");
    }
    visit(FeedElement(this, child, base_));
  }
}

pugi::xml_document ParseFeedXml(std::string_view xml) {
  if (xml.size() > kMaxPage_bytes) {
    throw FeedError("it is larger than " + std::to_string(kMaxPage_bytes >> 20) + " MiB");
  }
  pugi::xml_document document;
  const auto read = document.load_buffer(xml.data(), xml.size(), kParseOptions);
  if (!read) {
    throw FeedError("it is not XML: " + FoldCase(read.description()) + " at byte " +
                    std::to_string(read.offset));
  }
  return document;
}

}  // namespace app
