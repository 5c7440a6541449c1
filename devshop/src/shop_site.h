#ifndef DEVSHOP_SHOP_SITE_H_
#define DEVSHOP_SHOP_SITE_H_

#include "file_server.h"
#include "payment_pages.h"
#include "shop.h"
#include "store_api.h"

namespace devshop {

/// Routes requests for the shop's host by path. Thread-safe.
class ShopSite {
 public:
  ShopSite(Shop& shop, FileServer& files)
      : shop_(shop), files_(files), api_(shop), payments_(shop) {}

  void Handle(const Request& request, Response& response);

 private:
  void ServeHome(Response& response) const;
  void ServeProduct(const Title& title, Response& response) const;

  Shop& shop_;
  FileServer& files_;
  StoreApi api_;
  PaymentPages payments_;
};

/// Serves the page that a payment returns to.
void ServeReturnPage(Response& response);

void ServeNotFound(Response& response);

}  // namespace devshop

#endif  // DEVSHOP_SHOP_SITE_H_
