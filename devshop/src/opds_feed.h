#ifndef DEVSHOP_OPDS_FEED_H_
#define DEVSHOP_OPDS_FEED_H_

#include "catalogue.h"
#include "http_message.h"

namespace devshop {

/// Answers a request for the catalogue's start page: an OPDS 1.2 acquisition feed of the titles,
/// ten a page (`?page=`, from 1), searched with `?q=`.
void ServeFeed(const Catalogue& catalogue, const Request& request, Response& response);

/// Answers with the OpenSearch description that the feed links to.
void ServeSearchDescription(Response& response);

}  // namespace devshop

#endif  // DEVSHOP_OPDS_FEED_H_
