#ifndef QUIRE_APPS_COMMON_HTML_TEXT_H_
#define QUIRE_APPS_COMMON_HTML_TEXT_H_

#include <string>
#include <string_view>

namespace app {

/// The text of an HTML fragment, which need not be well-formed: without tags, comments, scripts and
/// styles, with character references resolved. A space stands for the end of a paragraph or line.
/// Linear in the length of `html`.
std::string HtmlToText(std::string_view html);

/// Whether an element begins or ends a line, such as "p" or "br".
bool IsBlockElement(std::string_view name);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_HTML_TEXT_H_
