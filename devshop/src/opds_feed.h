#ifndef DEVSHOP_OPDS_FEED_H_
#define DEVSHOP_OPDS_FEED_H_

#include "catalogue.h"
#include "http_message.h"

namespace devshop {

/// Serves the catalogue: an OPDS 1.2 acquisition feed, ten titles a page (`?page=`, from 1),
/// filtered by `?q=`. A page that does not exist is answered with 404.
void ServeFeed(const Catalogue& catalogue, const Request& request, Response& response);

/// Serves the OpenSearch description that the feed links to.
void ServeSearchDescription(Response& response);

}  // namespace devshop

#endif  // DEVSHOP_OPDS_FEED_H_
