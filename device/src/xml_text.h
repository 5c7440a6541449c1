/// \file
/// Documents and strings of untrusted HTML.

#ifndef DEVICE_SRC_XML_TEXT_H_
#define DEVICE_SRC_XML_TEXT_H_

#include <libxml/tree.h>

#include <memory>
#include <string>
#include <string_view>

struct XmlDocumentDeleter {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using XmlDocument = std::unique_ptr<xmlDoc, XmlDocumentDeleter>;

/// Empty for a null pointer.
std::string ToString(const xmlChar* text);

/// The name of an element without its namespace; empty for another node.
std::string_view ElementName(const xmlNode* node);

/// The first child element of that name in any namespace; null if there is none, also for a null
/// parent.
const xmlNode* FindChild(const xmlNode* parent, std::string_view name);

/// The unchanged value of an attribute; empty if it is missing.
std::string GetAttribute(const xmlNode* element, const char* name);

/// The text of an element and its descendants, with normalized space.
std::string GetText(const xmlNode* element);

#endif  // DEVICE_SRC_XML_TEXT_H_
