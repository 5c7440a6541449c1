#include "xml_text.h"

#include "text.h"

namespace {

struct Free {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using OwnedText = std::unique_ptr<xmlChar, Free>;

}  // namespace

std::string ToString(const xmlChar* text) {
  return text ? reinterpret_cast<const char*>(text) : "";
}

std::string_view ElementName(const xmlNode* node) {
  if (node->type != XML_ELEMENT_NODE || !node->name) return {};
  return reinterpret_cast<const char*>(node->name);
}

const xmlNode* FindChild(const xmlNode* parent, std::string_view name) {
  for (const xmlNode* node = parent ? parent->children : nullptr; node; node = node->next) {
    if (ElementName(node) == name) return node;
  }
  return nullptr;
}

std::string GetAttribute(const xmlNode* element, const char* name) {
  return ToString(OwnedText(xmlGetProp(element, reinterpret_cast<const xmlChar*>(name))).get());
}

std::string GetText(const xmlNode* element) {
  return NormalizeSpace(ToString(OwnedText(xmlNodeGetContent(element)).get()));
}
