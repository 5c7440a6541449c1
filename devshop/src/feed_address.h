#ifndef DEVSHOP_FEED_ADDRESS_H_
#define DEVSHOP_FEED_ADDRESS_H_

#include <cstddef>
#include <optional>
#include <string>

#include "title_index.h"
#include "url_encoding.h"

namespace devshop {

/// A page of a feed of titles, as its address names it.
struct FeedAddress {
  std::string path;
  TitleQuery query;
  std::size_t page = 1;

  std::string ToUrl() const;
};

/// Reads the parameters of an address; ignores unknown ones. Empty when the order does not exist or
/// the page is not a number from 1.
std::optional<FeedAddress> ParseFeedAddress(const std::string& path, const Fields& parameters);

}  // namespace devshop

#endif  // DEVSHOP_FEED_ADDRESS_H_
