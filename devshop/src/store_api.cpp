#include "store_api.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <regex>
#include <stdexcept>
#include <utility>

#include "crypto.h"
#include "hosts.h"
#include "money.h"
#include "timestamp.h"
#include "url_encoding.h"

namespace devshop {
namespace {

constexpr std::size_t kMinPassword_characters = 6;
constexpr std::size_t kMaxEmail_characters = 254;
constexpr std::size_t kMaxAddress_characters = 2000;

/// A call is refused; the message is for the customer.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

Json ItemToJson(const Title& title) {
  const auto cover = kShopUrl + kCoversPath + PercentEncode(title.ean);
  return {{"orderItemEAN", title.ean},
          {"orderItemTitle", title.title},
          {"orderItemAuthor", title.author},
          {"orderItemPrice", FormatAmount(title.price_hundredths)},
          {"currency", title.currency},
          {"orderItemQuantity", "1"},
          {"orderItemIsEbook", "true"},
          {"orderItemEbookType", title.BareType()},
          {"orderItemEbookDrm", title.type == "application/vnd.adobe.adept+xml" ? "ADEPT" : "NONE"},
          {"orderItemAvailabilityNumber", title.out_of_sale ? "0" : "1"},
          {"productPageURL", kShopUrl + kProductPath + PercentEncode(title.ean)},
          {"orderItemEbookCover", cover},
          {"orderImageUrl", cover}};
}

bool HasSpaceOrControl(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](unsigned char c) { return c <= ' ' || c == 127; });
}

bool IsWebAddress(const std::string& address) {
  if (address.size() > kMaxAddress_characters || HasSpaceOrControl(address)) return false;
  const std::size_t scheme = address.starts_with("https://") ? 8 : 7;
  return (scheme == 8 || address.starts_with("http://")) && address.size() > scheme &&
         address.find_first_of("/?#", scheme) != scheme;
}

bool IsEmailAddress(const std::string& address) {
  static const std::regex pattern("[^@]+@[^@.]+(\\.[^@.]+)+");
  return address.size() <= kMaxEmail_characters && !HasSpaceOrControl(address) &&
         std::regex_match(address, pattern);
}

Account& Customer(Shop& shop, const Fields& form) {
  Account* account = shop.accounts.FindBySession(GetField(form, "opdsSessionId"));
  if (account == nullptr) throw Refusal("You are not logged in. Please log in first.");
  return *account;
}

Order& FindOrder(Shop& shop, const Account& account, const Fields& form) {
  const std::string id = GetField(form, "orderId");
  Order* order = shop.orders.Find(id, account.email);
  if (order == nullptr) throw Refusal("You have no order \"" + id + "\".");
  return *order;
}

// --- The account ---------------------------------------------------------------------------------

Json LogIn(Shop& shop, const Fields& form) {
  const Account* account = shop.accounts.Find(GetField(form, "username"));
  if (account == nullptr || !SecretsEqual(account->password, GetField(form, "password"))) {
    throw Refusal("The e-mail address or the password is wrong. Please try again.");
  }
  return {{"opdsSessionId", shop.accounts.LogIn(*account)}};
}

Json LogOut(Shop& shop, const Fields& form) {
  Customer(shop, form);
  shop.accounts.LogOut(GetField(form, "opdsSessionId"));
  return Json::object();
}

Json RegisterUser(Shop& shop, const Fields& form) {
  const std::string email = GetField(form, "email");
  const std::string password = GetField(form, "password");
  if (!IsEmailAddress(email))
    throw Refusal("Please enter an e-mail address such as you@mail.example.");
  if (password.size() < kMinPassword_characters) {
    throw Refusal("Please choose a password of at least " +
                  std::to_string(kMinPassword_characters) + " characters.");
  }
  if (shop.accounts.Find(email) != nullptr) {
    throw Refusal("There is already an account for " + email + ". Please log in.");
  }
  Account& account = shop.accounts.Add(email, password);
  account.profile["title"] = GetField(form, "title");
  account.profile["name"] = GetField(form, "name");
  account.profile["surname"] = GetField(form, "lastname");
  shop.Save();
  return {{"successMsg", "Welcome to " + kShopName + "! Your account for " + email +
                             " is ready; you can log in now."}};
}

Json GetUserData(Shop& shop, const Fields& form) {
  return Customer(shop, form).profile;
}

Json BoughtItemToJson(const Shop& shop, const Account& account, const BoughtBook& book) {
  const Title* title = shop.catalogue().Find(book.ean);
  if (title == nullptr) return {{"orderItemEAN", book.ean}};
  Json json = ItemToJson(*title);
  json["orderItemDate"] = book.date;
  json["orderId"] = book.order_id;
  json["orderItemEbookLink"] = kShopUrl + kFilesPath + shop.LinkToken(account, book.ean) + "/" +
                               PercentEncode(book.ean) + "/" + PercentEncode(title->file);
  return json;
}

Json GetUserEbook(Shop& shop, const Fields& form) {
  const Account& account = Customer(shop, form);
  Json books = Json::array();
  for (const BoughtBook& book : account.books)
    books.push_back(BoughtItemToJson(shop, account, book));
  return books;
}

// --- Cart and order ------------------------------------------------------------------------------

Json AddToCart(Shop& shop, const Fields& form) {
  const Account& account = Customer(shop, form);
  Order& cart = shop.orders.Cart(GetField(form, "opdsSessionId"), account.email);
  for (const auto& [name, ean] : form) {
    if (!name.starts_with("ean_")) continue;
    const Title* title = shop.catalogue().Find(ean);
    const bool wanted =
        std::strtol(GetField(form, "quantity_" + name.substr(4)).c_str(), nullptr, 10) > 0;
    std::erase(cart.eans, ean);
    // An e-book is in a cart once. Compatibility: a title out of sale is left out without an error.
    if (wanted && title != nullptr && !title->out_of_sale) cart.eans.push_back(ean);
  }
  cart.last_updated = FormatTime(std::time(nullptr));
  return {{"orderId", cart.id}};
}

Json GetCart(Shop& shop, const Fields& form) {
  const Account& account = Customer(shop, form);
  const Order& cart = FindOrder(shop, account, form);
  Json items = Json::array();
  for (const auto& ean : cart.eans) {
    const Title* title = shop.catalogue().Find(ean);
    if (title == nullptr) continue;
    items.push_back(ItemToJson(*title));
    items.back()["orderItemId"] = cart.id + "-" + std::to_string(items.size());
  }
  return {{"orderItems", std::move(items)},
          {"opdsSessionId", GetField(form, "opdsSessionId")},
          {"order",
           {{"orderId", cart.id},
            {"userID", account.profile.value("userId", "")},
            {"lastUpdated", cart.last_updated},
            {"orderAmount", FormatAmount(cart.AmountHundredths(shop.catalogue()))}}}};
}

Json CommitOrder(Shop& shop, const Fields& form) {
  Order& order = FindOrder(shop, Customer(shop, form), form);
  const std::string pay_method = GetField(form, "paymethod");
  if (order.eans.empty()) throw Refusal("Your cart is empty.");
  if (pay_method.empty()) throw Refusal("Please choose how you want to pay.");
  if (order.payment == Order::Payment::kApproved) throw Refusal("This order is already paid.");
  order.success_url = kShopUrl + kReturnPath + "?status=success";
  order.cancel_url = kShopUrl + kReturnPath + "?status=cancel";
  if (pay_method == "CCARD") {
    order.success_url = GetField(form, "success_url");
    order.cancel_url = GetField(form, "cancel_url");
    if (!IsWebAddress(order.success_url) || !IsWebAddress(order.cancel_url)) {
      throw Refusal("The application sent no valid address to return to after the payment.");
    }
  }
  shop.orders.Commit(order, pay_method);
  shop.Save();
  return {
      {"status", "OK"},
      {"url", order.payment_token.empty() ? "" : kShopUrl + kPaymentPath + order.payment_token}};
}

Json CheckOrder(Shop& shop, const Fields& form) {
  Order& order = FindOrder(shop, Customer(shop, form), form);
  if (order.payment == Order::Payment::kNone) {
    throw Refusal("The payment of order " + order.id + " has not been started.");
  }
  return {{"orderId", order.id}, {"paymentStatus", shop.orders.Check(order)}};
}

/// Idempotent: an application that lost the response gets the same one again.
Json SubmitOrder(Shop& shop, const Fields& form) {
  Account& account = Customer(shop, form);
  Order& order = FindOrder(shop, account, form);
  if (order.payment != Order::Payment::kApproved) {
    throw Refusal("Order " + order.id + " is not paid yet.");
  }
  if (order.placed.empty()) {
    order.placed = FormatTime(std::time(nullptr));
    for (const auto& ean : order.eans) account.AddBook({ean, order.placed, order.id});
    shop.Save();
  }
  Json positions = Json::array();
  for (const auto& ean : order.eans) {
    positions.push_back(BoughtItemToJson(shop, account, {ean, order.placed, order.id}));
  }
  return {{"order",
           {{"orderId", order.id},
            {"orderDatePlaced", order.placed},
            {"userID", account.profile.value("userId", "")},
            {"orderAmount", FormatAmount(order.AmountHundredths(shop.catalogue()))},
            {"paymethod", order.pay_method}}},
          {"positions", std::move(positions)}};
}

using Call = Json (*)(Shop& shop, const Fields& form);

const std::map<std::string, Call> kCalls{
    {"/login", LogIn},
    {"/logout", LogOut},
    {"/registerUser", RegisterUser},
    {"/getUserData", GetUserData},
    {"/getUserEbook", GetUserEbook},
    {"/getCart", GetCart},
    {"/addToCart", AddToCart},
    {"/checkOrder", CheckOrder},
    {"/commitOrderForPayment", CommitOrder},
    {"/submitOrder", SubmitOrder},
};

Json HandleCall(Shop& shop, Call call, const Fields& form) {
  // Compatibility: clients send the blank.
  const std::string id = GetField(form, call == LogOut ? " storeId" : "storeId");
  if (id != kStoreId) throw Refusal("This shop has no store \"" + id + "\".");
  const std::lock_guard lock(shop.mutex);
  return {{"error", "false"}, {"response", call(shop, form)}};
}

}  // namespace

Json RefusalToJson(const std::string& path, const std::string& text) {
  // Compatibility: clients of this call expect another spelling of the key.
  const bool other_key = path == kApiPath + "/getUserEbook";
  return {{"error", "true"}, {"response", {{other_key ? "errorMsg" : "ErrorMsg", text}}}};
}

void ServeStoreApi(Shop& shop, const Request& request, Response& response) {
  const auto call = kCalls.find(request.path.substr(kApiPath.size()));
  if (call == kCalls.end()) return response.SetError(404, "The store API has no such call.");
  if (request.method != "POST") {
    return response.SetError(405, "Calls of the store API are sent with POST.");
  }
  Json json;
  try {
    json = HandleCall(shop, call->second, request.form);
  } catch (const Refusal& refused) {
    json = RefusalToJson(request.path, refused.what());
  }
  response.SetHeader("Cache-Control", "no-store");
  response.SetContent(ToString(json), "application/json");
}

}  // namespace devshop
