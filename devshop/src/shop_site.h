#ifndef DEVSHOP_SHOP_SITE_H_
#define DEVSHOP_SHOP_SITE_H_

#include "files.h"
#include "payment_pages.h"
#include "shop.h"
#include "store_api.h"

namespace devshop {

/// Everything under the shop's host, by path. Any thread.
class ShopSite {
 public:
  ShopSite(Shop& shop, Files& files) : shop_(shop), files_(files), api_(shop), payments_(shop) {}

  void Handle(const Request& request, Response& response);

 private:
  void ServeHome(Response& response) const;
  void ServeProduct(const Title& title, Response& response) const;

  Shop& shop_;
  Files& files_;
  StoreApi api_;
  PaymentPages payments_;
};

/// The page that a payment returns to: applications watch for its address and close the browser.
void ServeReturnPage(Response& response);

void ServeNotFound(Response& response);

}  // namespace devshop

#endif  // DEVSHOP_SHOP_SITE_H_
