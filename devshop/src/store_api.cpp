#include "store_api.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <stdexcept>

#include "crypto.h"
#include "hosts.h"

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

void CheckStore(const Fields& form, const char* key = "storeId") {
  const std::string id = GetField(form, key);
  if (id != kStoreId) throw Refusal("This shop has no store \"" + id + "\".");
}

Json ItemJson(const Title& title) {
  Json json{
      {"orderItemEAN", title.ean},
      {"orderItemTitle", title.title},
      {"orderItemAuthor", title.author},
      {"orderItemPrice", FormatCents(title.price_cents)},
      {"currency", title.currency},
      {"orderItemQuantity", "1"},
      {"orderItemIsEbook", "true"},
      {"orderItemEbookType", title.BareType()},
      {"orderItemEbookDrm", title.type == "application/vnd.adobe.adept+xml" ? "ADEPT" : "NONE"},
      {"orderItemAvailabilityNumber", title.out_of_sale ? "0" : "1"},
      {"productPageURL", kShopUrl + kStorePath + "/product/" + PercentEncode(title.ean)}};
  if (!title.cover.empty()) {
    const auto cover = kShopUrl + "/covers/" + PercentEncode(title.ean);
    json["orderItemEbookCover"] = cover;
    json["orderImageUrl"] = cover;
  }
  return json;
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

/// One @, and behind it two or more names separated by dots.
bool IsEmailAddress(const std::string& address) {
  const auto at = address.find('@');
  if (address.size() > kMaxEmail_characters || HasSpaceOrControl(address) || at == 0 ||
      at == std::string::npos) {
    return false;
  }
  const std::string host = "." + address.substr(at + 1) + ".";
  return host.find('@') == std::string::npos && host.find("..") == std::string::npos &&
         std::count(host.begin(), host.end(), '.') > 2;
}

}  // namespace

StoreApi::Call StoreApi::FindCall(const std::string& name) {
  static const std::map<std::string, Call> calls{
      {"/login", &StoreApi::LogIn},
      {"/logout", &StoreApi::LogOut},
      {"/registerUser", &StoreApi::RegisterUser},
      {"/getUserData", &StoreApi::GetUserData},
      {"/getUserEbook", &StoreApi::GetUserEbook},
      {"/getCart", &StoreApi::GetCart},
      {"/addToCart", &StoreApi::AddToCart},
      {"/checkOrder", &StoreApi::CheckOrder},
      {"/commitOrderForPayment", &StoreApi::CommitOrder},
      {"/submitOrder", &StoreApi::SubmitOrder},
  };
  const auto found = calls.find(name);
  return found == calls.end() ? nullptr : found->second;
}

void StoreApi::Handle(const Request& request, Response& response) {
  const Call call = FindCall(request.path.substr(kApiPath.size()));
  if (call == nullptr || request.method != "POST") {
    response.status = call == nullptr ? 404 : 405;
    response.SetContent(call == nullptr ? "The store API has no such call.\n"
                                        : "Calls of the store API are sent with POST.\n",
                        "text/plain");
    return;
  }
  Json json;
  try {
    const std::lock_guard lock(shop_.mutex);
    json = {{"error", "false"}, {"response", (this->*call)(request.form)}};
  } catch (const Refusal& refused) {
    json = RefusalJson(request.path, refused.what());
  }
  response.SetHeader("Cache-Control", "no-store");
  response.SetContent(ToString(json), "application/json");
}

Json StoreApi::RefusalJson(const std::string& path, const std::string& text) {
  // Compatibility: clients of this call expect another spelling of the key.
  const bool other_key = path == kApiPath + "/getUserEbook";
  return {{"error", "true"}, {"response", {{other_key ? "errorMsg" : "ErrorMsg", text}}}};
}

Account& StoreApi::Customer(const Fields& form) {
  Account* account = shop_.accounts.FindBySession(GetField(form, "opdsSessionId"));
  if (account == nullptr) throw Refusal("You are not logged in. Please log in first.");
  return *account;
}

Order& StoreApi::FindOrder(const Account& account, const Fields& form) {
  const std::string id = GetField(form, "orderId");
  Order* order = shop_.orders.Find(id, account.email);
  if (order == nullptr) throw Refusal("You have no order \"" + id + "\".");
  return *order;
}

// --- The account ---------------------------------------------------------------------------------

Json StoreApi::LogIn(const Fields& form) {
  CheckStore(form);
  const Account* account = shop_.accounts.Find(GetField(form, "username"));
  if (account == nullptr || !SecretsEqual(account->password, GetField(form, "password"))) {
    throw Refusal("The e-mail address or the password is wrong. Please try again.");
  }
  return {{"opdsSessionId", shop_.accounts.LogIn(*account)}};
}

Json StoreApi::LogOut(const Fields& form) {
  CheckStore(form, " storeId");  // Compatibility: clients send the blank.
  Customer(form);
  shop_.accounts.LogOut(GetField(form, "opdsSessionId"));
  return Json::object();
}

Json StoreApi::RegisterUser(const Fields& form) {
  CheckStore(form);
  const std::string email = GetField(form, "email");
  const std::string password = GetField(form, "password");
  if (!IsEmailAddress(email))
    throw Refusal("Please give an e-mail address such as you@mail.example.");
  if (password.size() < kMinPassword_characters) {
    throw Refusal("Please choose a password of at least " +
                  std::to_string(kMinPassword_characters) + " characters.");
  }
  if (shop_.accounts.Find(email) != nullptr) {
    throw Refusal("There is already an account for " + email + ". Please log in.");
  }
  Account& account = shop_.accounts.Add(email, password);
  account.profile["title"] = GetField(form, "title");
  account.profile["name"] = GetField(form, "name");
  account.profile["surname"] = GetField(form, "lastname");
  shop_.Save();
  return {{"successMsg", "Welcome to " + kShopName + "! Your account for " + email +
                             " is ready; you can log in now."}};
}

Json StoreApi::GetUserData(const Fields& form) {
  CheckStore(form);
  return Customer(form).profile;
}

Json StoreApi::GetUserEbook(const Fields& form) {
  CheckStore(form);
  const Account& account = Customer(form);
  Json books = Json::array();
  for (const BoughtBook& book : account.books) books.push_back(BoughtItemJson(account, book));
  return books;
}

Json StoreApi::BoughtItemJson(const Account& account, const BoughtBook& book) const {
  const Title* title = shop_.catalogue().Find(book.ean);
  if (title == nullptr) return {{"orderItemEAN", book.ean}};
  Json json = ItemJson(*title);
  json["orderItemDate"] = book.date;
  json["orderId"] = book.order_id;
  json["orderItemEbookLink"] = kShopUrl + "/files/" + shop_.LinkToken(account, book.ean) + "/" +
                               PercentEncode(book.ean) + "/" + PercentEncode(title->file);
  return json;
}

// --- Cart and order ------------------------------------------------------------------------------

Json StoreApi::AddToCart(const Fields& form) {
  CheckStore(form);
  const Account& account = Customer(form);
  Order& cart = shop_.orders.Cart(GetField(form, "opdsSessionId"), account.email);
  for (const auto& [name, ean] : form) {
    if (name.rfind("ean_", 0) != 0) continue;
    const Title* title = shop_.catalogue().Find(ean);
    const bool wanted =
        std::strtol(GetField(form, "quantity_" + name.substr(4)).c_str(), nullptr, 10) > 0;
    std::erase(cart.eans, ean);
    // An e-book is in a cart once. Compatibility: a title out of sale is left out without an error.
    if (wanted && title != nullptr && !title->out_of_sale) cart.eans.push_back(ean);
  }
  cart.last_updated = FormatTime(std::time(nullptr));
  return {{"orderId", cart.id}};
}

Json StoreApi::GetCart(const Fields& form) {
  CheckStore(form);
  const Account& account = Customer(form);
  const Order& cart = FindOrder(account, form);
  Json items = Json::array();
  for (const auto& ean : cart.eans) {
    const Title* title = shop_.catalogue().Find(ean);
    if (title == nullptr) continue;
    items.push_back(ItemJson(*title));
    items.back()["orderItemId"] = cart.id + "-" + std::to_string(items.size());
  }
  return {{"orderItems", std::move(items)},
          {"opdsSessionId", GetField(form, "opdsSessionId")},
          {"order",
           {{"orderId", cart.id},
            {"userID", account.profile.value("userId", "")},
            {"lastUpdated", cart.last_updated},
            {"orderAmount", FormatCents(cart.AmountCents(shop_.catalogue()))}}}};
}

Json StoreApi::CommitOrder(const Fields& form) {
  CheckStore(form);
  Order& order = FindOrder(Customer(form), form);
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
      throw Refusal("The application gave no address to return to after the payment.");
    }
  }
  shop_.orders.Commit(order, pay_method);
  shop_.Save();
  return {{"status", "OK"},
          {"url", order.payment_token.empty() ? "" : kShopUrl + "/payment/" + order.payment_token}};
}

Json StoreApi::CheckOrder(const Fields& form) {
  CheckStore(form);
  Order& order = FindOrder(Customer(form), form);
  if (order.payment == Order::Payment::kNone) {
    throw Refusal("The payment of order " + order.id + " has not been started.");
  }
  return {{"orderId", order.id}, {"paymentStatus", shop_.orders.Check(order)}};
}

/// Idempotent: an application that lost the response gets the same one again.
Json StoreApi::SubmitOrder(const Fields& form) {
  CheckStore(form);
  Account& account = Customer(form);
  Order& order = FindOrder(account, form);
  if (order.payment != Order::Payment::kApproved) {
    throw Refusal("Order " + order.id + " is not paid yet.");
  }
  if (order.placed.empty()) {
    order.placed = FormatTime(std::time(nullptr));
    for (const auto& ean : order.eans) account.AddBook({ean, order.placed, order.id});
    shop_.Save();
  }
  return {{"order",
           {{"orderId", order.id},
            {"orderDatePlaced", order.placed},
            {"userID", account.profile.value("userId", "")},
            {"orderAmount", FormatCents(order.AmountCents(shop_.catalogue()))},
            {"paymethod", order.pay_method}}},
          {"positions", PositionsJson(account, order)}};
}

Json StoreApi::PositionsJson(const Account& account, const Order& order) const {
  Json list = Json::array();
  for (const auto& ean : order.eans) {
    list.push_back(BoughtItemJson(account, {ean, order.placed, order.id}));
  }
  return list;
}

}  // namespace devshop
