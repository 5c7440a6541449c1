#include "xml_text.h"

#include <memory>

namespace {

struct Free {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using OwnedText = std::unique_ptr<xmlChar, Free>;

}  // namespace

std::string ToString(const xmlChar* text) {
  return text ? reinterpret_cast<const char*>(text) : "";
}

std::string Attribute(const xmlNode* element, const char* name) {
  return ToString(OwnedText(xmlGetProp(element, reinterpret_cast<const xmlChar*>(name))).get());
}

std::string Tidy(std::string_view text) {
  std::string tidy;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte != 0x7f) {
      tidy += c;
    } else if (!tidy.empty() && tidy.back() != ' ') {
      tidy += ' ';
    }
  }
  if (!tidy.empty() && tidy.back() == ' ') tidy.pop_back();
  return tidy;
}

std::string TextOf(const xmlNode* element) {
  return Tidy(ToString(OwnedText(xmlNodeGetContent(element)).get()));
}
