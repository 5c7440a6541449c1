#ifndef DEVSHOP_HTML_H_
#define DEVSHOP_HTML_H_

#include <string>

#include "http_message.h"

namespace devshop {

/// Serves a page with the shop's header and style, without scripts or external resources. `content`
/// is HTML, `title` is plain text.
void ServePage(Response& response, const std::string& title, const std::string& content);

}  // namespace devshop

#endif  // DEVSHOP_HTML_H_
