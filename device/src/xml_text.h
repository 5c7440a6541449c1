/// \file
/// Texts out of a document that somebody else wrote.

#ifndef DEVICE_SRC_XML_TEXT_H_
#define DEVICE_SRC_XML_TEXT_H_

#include <libxml/tree.h>

#include <string>
#include <string_view>

/// Empty for a null pointer.
std::string ToString(const xmlChar* text);

/// An attribute's value as it stands, empty when there is none.
std::string Attribute(const xmlNode* element, const char* name);

/// On one line: runs of spaces and control characters, which could drive a terminal, become one
/// space.
std::string Tidy(std::string_view text);

/// What stands in an element and below it, tidied.
std::string TextOf(const xmlNode* element);

#endif  // DEVICE_SRC_XML_TEXT_H_
