#ifndef DEVSHOP_STORE_API_H_
#define DEVSHOP_STORE_API_H_

#include <string>

#include "http_message.h"
#include "shop.h"

namespace devshop {

/// The store API: form fields in, JSON out. Thread-safe.
class StoreApi {
 public:
  explicit StoreApi(Shop& shop) : shop_(shop) {}

  /// Handles a request under kApiPath.
  void Handle(const Request& request, Response& response);

  /// The body of a refused call, sent with status 200; `text` is for the customer.
  static Json RefusalJson(const std::string& path, const std::string& text);

 private:
  using Call = Json (StoreApi::*)(const Fields& form);
  static Call FindCall(const std::string& name);

  Json LogIn(const Fields& form);
  Json LogOut(const Fields& form);
  Json RegisterUser(const Fields& form);
  Json GetUserData(const Fields& form);
  Json GetUserEbook(const Fields& form);
  Json GetCart(const Fields& form);
  Json AddToCart(const Fields& form);
  Json CheckOrder(const Fields& form);
  Json CommitOrder(const Fields& form);
  Json SubmitOrder(const Fields& form);

  Account& Customer(const Fields& form);
  Order& FindOrder(const Account& account, const Fields& form);
  Json BoughtItemJson(const Account& account, const BoughtBook& book) const;
  Json PositionsJson(const Account& account, const Order& order) const;

  Shop& shop_;
};

}  // namespace devshop

#endif  // DEVSHOP_STORE_API_H_
