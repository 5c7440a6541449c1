#ifndef DEVSHOP_STORE_API_H_
#define DEVSHOP_STORE_API_H_

#include <string>

#include "http_server.h"
#include "shop.h"

namespace devshop {

/// The shop's calls for applications: form fields in, JSON out. Any thread.
class StoreApi {
 public:
  explicit StoreApi(Shop& shop) : shop_(shop) {}

  /// Answers a request whose path lies under the API's.
  void answer(const Request& request, Response& response);

  /// What a call at that path answers when it refuses: status 200, and a text for the customer.
  static Json refusal(const std::string& path, const std::string& text);

 private:
  using Call = Json (StoreApi::*)(const Fields& form);
  static Call find_call(const std::string& name);

  Json log_in(const Fields& form);
  Json log_out(const Fields& form);
  Json register_user(const Fields& form);
  Json get_user_data(const Fields& form);
  Json get_user_ebook(const Fields& form);
  Json get_cart(const Fields& form);
  Json add_to_cart(const Fields& form);
  Json check_order(const Fields& form);
  Json commit_order(const Fields& form);
  Json submit_order(const Fields& form);

  Account& customer(const Fields& form);
  Order& order_of(const Account& account, const Fields& form);
  Json bought_item(const Account& account, const BoughtBook& book) const;
  Json positions(const Account& account, const Order& order) const;

  Shop& shop_;
};

}  // namespace devshop

#endif  // DEVSHOP_STORE_API_H_
