#ifndef DEVSHOP_SHOP_SITE_H_
#define DEVSHOP_SHOP_SITE_H_

#include "file_server.h"
#include "http_message.h"
#include "opds_site.h"
#include "shop.h"

namespace devshop {

/// Routes a request for the shop's host by its path. Thread-safe.
void ServeShop(Shop& shop, FileServer& files, const OpdsSite& opds, const Request& request,
               Response& response);

/// Serves the page that a payment returns to.
void ServeReturnPage(Response& response);

void ServeNotFound(Response& response);

}  // namespace devshop

#endif  // DEVSHOP_SHOP_SITE_H_
