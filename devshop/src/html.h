#ifndef DEVSHOP_HTML_H_
#define DEVSHOP_HTML_H_

#include <string>

#include "http_message.h"

namespace devshop {

/// Answers with a whole page in the shop's dress, readable on a phone's width, without scripts and
/// without anything fetched from elsewhere. `content` is HTML, `title` is text.
void ServePage(Response& response, const std::string& title, const std::string& content);

}  // namespace devshop

#endif  // DEVSHOP_HTML_H_
