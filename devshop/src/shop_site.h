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

  void answer(const Request& request, Response& response);

 private:
  void answer_home(Response& response) const;
  void answer_product(const Title& title, Response& response) const;

  Shop& shop_;
  Files& files_;
  StoreApi api_;
  PaymentPages payments_;
};

/// The page that a payment returns to: applications watch for its address and close the browser.
void answer_return_page(Response& response);

void answer_not_found(Response& response);

}  // namespace devshop

#endif  // DEVSHOP_SHOP_SITE_H_
