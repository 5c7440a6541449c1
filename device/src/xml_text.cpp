#include "xml_text.h"

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

bool IsUtf8(const std::string& text) {
  return xmlCheckUTF8(reinterpret_cast<const xmlChar*>(text.c_str())) == 1;
}

std::string NormalizeSpace(std::string_view text) {
  std::string normalized;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte != 0x7f) {
      normalized += c;
    } else if (!normalized.empty() && normalized.back() != ' ') {
      normalized += ' ';
    }
  }
  if (!normalized.empty() && normalized.back() == ' ') normalized.pop_back();
  return normalized;
}

std::string GetText(const xmlNode* element) {
  return NormalizeSpace(ToString(OwnedText(xmlNodeGetContent(element)).get()));
}
