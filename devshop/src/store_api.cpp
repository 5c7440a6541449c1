#include "store_api.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <regex>
#include <stdexcept>

#include "crypto.h"
#include "hosts.h"

namespace devshop {
namespace {

constexpr std::size_t kShortestPassword = 6;

/// A call is refused; the text is for the customer.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

void check_store(const Fields& form, const char* key = "storeId") {
  const std::string id = field(form, key);
  if (id != kStoreId) throw Refusal("This shop has no store \"" + id + "\".");
}

Json item(const Title& title) {
  Json json{
      {"orderItemEAN", title.ean},
      {"orderItemTitle", title.title},
      {"orderItemAuthor", title.author},
      {"orderItemPrice", format_cents(title.price_cents)},
      {"currency", title.currency},
      {"orderItemQuantity", "1"},
      {"orderItemIsEbook", "true"},
      {"orderItemEbookType", title.bare_type()},
      {"orderItemEbookDrm", title.type == "application/vnd.adobe.adept+xml" ? "ADEPT" : "NONE"},
      {"orderItemAvailabilityNumber", title.out_of_sale ? "0" : "1"},
      {"productPageURL", kShopUrl + kStorePath + "/product/" + percent_encode(title.ean)}};
  if (!title.cover.empty()) {
    const auto cover = kShopUrl + "/covers/" + percent_encode(title.ean);
    json["orderItemEbookCover"] = cover;
    json["orderImageUrl"] = cover;
  }
  return json;
}

bool is_web_address(const std::string& address) {
  static const std::regex form("https?://[^\\s/?#]+[^\\s]*");
  return std::regex_match(address, form);
}

bool is_email_address(const std::string& address) {
  static const std::regex form("[^\\s@]+@[^\\s@.]+(\\.[^\\s@.]+)+");
  return address.size() <= 254 && std::regex_match(address, form);
}

}  // namespace

StoreApi::Call StoreApi::find_call(const std::string& name) {
  static const std::map<std::string, Call> calls{
      {"/login", &StoreApi::log_in},
      {"/logout", &StoreApi::log_out},
      {"/registerUser", &StoreApi::register_user},
      {"/getUserData", &StoreApi::get_user_data},
      {"/getUserEbook", &StoreApi::get_user_ebook},
      {"/getCart", &StoreApi::get_cart},
      {"/addToCart", &StoreApi::add_to_cart},
      {"/checkOrder", &StoreApi::check_order},
      {"/commitOrderForPayment", &StoreApi::commit_order},
      {"/submitOrder", &StoreApi::submit_order},
  };
  const auto found = calls.find(name);
  return found == calls.end() ? nullptr : found->second;
}

void StoreApi::answer(const Request& request, Response& response) {
  const Call call = find_call(request.path.substr(kApiPath.size()));
  if (call == nullptr || request.method != "POST") {
    response.status = call == nullptr ? 404 : 405;
    response.set_content(call == nullptr ? "The store API has no such call.\n"
                                         : "Calls of the store API are sent with POST.\n",
                         "text/plain");
    return;
  }
  Json json;
  try {
    const std::lock_guard lock(shop_.mutex);
    json = {{"error", "false"}, {"response", (this->*call)(request.form)}};
  } catch (const Refusal& refused) {
    json = refusal(request.path, refused.what());
  }
  response.set_header("Cache-Control", "no-store");
  response.set_content(to_text(json), "application/json");
}

Json StoreApi::refusal(const std::string& path, const std::string& text) {
  // One call spells the key in its own way, and clients rely on it.
  const bool other_key = path == kApiPath + "/getUserEbook";
  return {{"error", "true"}, {"response", {{other_key ? "errorMsg" : "ErrorMsg", text}}}};
}

Account& StoreApi::customer(const Fields& form) {
  Account* account = shop_.accounts.of_session(field(form, "opdsSessionId"));
  if (account == nullptr) throw Refusal("You are not logged in. Please log in first.");
  return *account;
}

Order& StoreApi::order_of(const Account& account, const Fields& form) {
  const std::string id = field(form, "orderId");
  Order* order = shop_.orders.find(id, account.email);
  if (order == nullptr) throw Refusal("You have no order \"" + id + "\".");
  return *order;
}

// --- The account ---------------------------------------------------------------------------------

Json StoreApi::log_in(const Fields& form) {
  check_store(form);
  const Account* account = shop_.accounts.find(field(form, "username"));
  if (account == nullptr || !equal_secrets(account->password, field(form, "password"))) {
    throw Refusal("The e-mail address or the password is not right. Please try again.");
  }
  return {{"opdsSessionId", shop_.accounts.log_in(*account)}};
}

Json StoreApi::log_out(const Fields& form) {
  check_store(form, " storeId");  // with the blank: clients rely on it
  customer(form);
  shop_.accounts.log_out(field(form, "opdsSessionId"));
  return Json::object();
}

Json StoreApi::register_user(const Fields& form) {
  check_store(form);
  const std::string email = field(form, "email");
  const std::string password = field(form, "password");
  if (!is_email_address(email))
    throw Refusal("Please give an e-mail address such as you@mail.example.");
  if (password.size() < kShortestPassword) {
    throw Refusal("Please choose a password of at least " + std::to_string(kShortestPassword) +
                  " characters.");
  }
  if (shop_.accounts.find(email) != nullptr) {
    throw Refusal("There is already an account for " + email + ". Please log in.");
  }
  Account& account = shop_.accounts.add(email, password);
  account.profile["title"] = field(form, "title");
  account.profile["name"] = field(form, "name");
  account.profile["surname"] = field(form, "lastname");
  shop_.save();
  return {{"successMsg", "Welcome to " + kShopName + "! Your account for " + email +
                             " is ready; you can log in now."}};
}

Json StoreApi::get_user_data(const Fields& form) {
  check_store(form);
  return customer(form).profile;
}

Json StoreApi::get_user_ebook(const Fields& form) {
  check_store(form);
  const Account& account = customer(form);
  Json books = Json::array();
  for (const BoughtBook& book : account.books) books.push_back(bought_item(account, book));
  return books;
}

Json StoreApi::bought_item(const Account& account, const BoughtBook& book) const {
  const Title* title = shop_.catalogue().find(book.ean);
  if (title == nullptr) return {{"orderItemEAN", book.ean}};
  Json json = item(*title);
  json["orderItemDate"] = book.date;
  json["orderId"] = book.order_id;
  json["orderItemEbookLink"] = kShopUrl + "/files/" + shop_.link_token(account, book.ean) + "/" +
                               percent_encode(book.ean) + "/" + percent_encode(title->file);
  return json;
}

// --- Cart and order ------------------------------------------------------------------------------

Json StoreApi::add_to_cart(const Fields& form) {
  check_store(form);
  const Account& account = customer(form);
  Order& cart = shop_.orders.cart_of(field(form, "opdsSessionId"), account.email);
  for (const auto& [name, ean] : form) {
    if (name.rfind("ean_", 0) != 0) continue;
    const Title* title = shop_.catalogue().find(ean);
    const bool wanted =
        std::strtol(field(form, "quantity_" + name.substr(4)).c_str(), nullptr, 10) > 0;
    std::erase(cart.eans, ean);
    // An e-book is sold once per order, and what is not for sale stays out without a word: the
    // customer sees it missing in the cart.
    if (wanted && title != nullptr && !title->out_of_sale) cart.eans.push_back(ean);
  }
  cart.last_updated = format_time(std::time(nullptr));
  return {{"orderId", cart.id}};
}

Json StoreApi::get_cart(const Fields& form) {
  check_store(form);
  const Account& account = customer(form);
  const Order& cart = order_of(account, form);
  Json items = Json::array();
  for (const auto& ean : cart.eans) {
    const Title* title = shop_.catalogue().find(ean);
    if (title == nullptr) continue;
    items.push_back(item(*title));
    items.back()["orderItemId"] = cart.id + "-" + std::to_string(items.size());
  }
  return {{"orderItems", std::move(items)},
          {"opdsSessionId", field(form, "opdsSessionId")},
          {"order",
           {{"orderId", cart.id},
            {"userID", account.profile.value("userId", "")},
            {"lastUpdated", cart.last_updated},
            {"orderAmount", format_cents(cart.amount_cents(shop_.catalogue()))}}}};
}

Json StoreApi::commit_order(const Fields& form) {
  check_store(form);
  Order& order = order_of(customer(form), form);
  const std::string pay_method = field(form, "paymethod");
  if (order.eans.empty()) throw Refusal("Your cart is empty.");
  if (pay_method.empty()) throw Refusal("Please choose how you want to pay.");
  if (order.payment == Order::Payment::kApproved) throw Refusal("This order is already paid.");
  order.success_url = kShopUrl + kReturnPath + "?status=success";
  order.cancel_url = kShopUrl + kReturnPath + "?status=cancel";
  if (pay_method == "CCARD") {
    order.success_url = field(form, "success_url");
    order.cancel_url = field(form, "cancel_url");
    if (!is_web_address(order.success_url) || !is_web_address(order.cancel_url)) {
      throw Refusal("The application gave no address to return to after the payment.");
    }
  }
  shop_.orders.commit(order, pay_method);
  shop_.save();
  return {{"status", "OK"},
          {"url", order.payment_token.empty() ? "" : kShopUrl + "/payment/" + order.payment_token}};
}

Json StoreApi::check_order(const Fields& form) {
  check_store(form);
  Order& order = order_of(customer(form), form);
  if (order.payment == Order::Payment::kNone) {
    throw Refusal("The payment of order " + order.id + " has not been started.");
  }
  return {{"orderId", order.id}, {"paymentStatus", shop_.orders.check(order)}};
}

/// Placing an order again answers as the first time: nothing is sold twice, and an application that
/// lost the answer gets it.
Json StoreApi::submit_order(const Fields& form) {
  check_store(form);
  Account& account = customer(form);
  Order& order = order_of(account, form);
  if (order.payment != Order::Payment::kApproved) {
    throw Refusal("Order " + order.id + " is not paid yet.");
  }
  if (order.placed.empty()) {
    order.placed = format_time(std::time(nullptr));
    for (const auto& ean : order.eans) account.own({ean, order.placed, order.id});
    shop_.save();
  }
  return {{"order",
           {{"orderId", order.id},
            {"orderDatePlaced", order.placed},
            {"userID", account.profile.value("userId", "")},
            {"orderAmount", format_cents(order.amount_cents(shop_.catalogue()))},
            {"paymethod", order.pay_method}}},
          {"positions", positions(account, order)}};
}

Json StoreApi::positions(const Account& account, const Order& order) const {
  Json list = Json::array();
  for (const auto& ean : order.eans) {
    list.push_back(bought_item(account, {ean, order.placed, order.id}));
  }
  return list;
}

}  // namespace devshop
