#ifndef DEVSHOP_HTML_H_
#define DEVSHOP_HTML_H_

#include <string>
#include <string_view>

#include "http_message.h"

namespace devshop {

/// Escapes for HTML content and quoted attributes.
std::string EscapeHtml(std::string_view text);

/// Serves a page without scripts or external resources. `title` is plain text and the heading,
/// `content` is HTML.
void ServePage(Response& response, const std::string& title, const std::string& content);

}  // namespace devshop

#endif  // DEVSHOP_HTML_H_
