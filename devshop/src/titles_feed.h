#ifndef DEVSHOP_TITLES_FEED_H_
#define DEVSHOP_TITLES_FEED_H_

#include <optional>
#include <string>

#include "catalogue.h"
#include "feed_address.h"
#include "opds_document.h"

namespace devshop {

/// The acquisition feed at an address, with paging, facets and an entry for each title of the page.
/// Empty when the page does not exist.
std::optional<std::string> TitlesFeed(const Catalogue& catalogue, const FeedSettings& settings,
                                      const FeedAddress& address);

}  // namespace devshop

#endif  // DEVSHOP_TITLES_FEED_H_
