#include "cart.h"

#include <time.h>

#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>
#include <utility>

#include "atomic_file.h"
#include "book_properties.h"
#include "cart_changes.h"
#include "cart_file.h"
#include "device_paths.h"
#include "json.h"

namespace saltmoor::quire {
namespace {

// Compatibility: quantities do not count, and the sum wraps at 32 bits.
std::int32_t SumInCents(const std::vector<Book>& items) {
  std::uint32_t sum = 0;
  for (const Book& item : items) {
    const auto price = item.int_props.find(Book::kPrice);
    if (price != item.int_props.end()) sum += static_cast<std::uint32_t>(price->second);
  }
  return static_cast<std::int32_t>(sum);
}

std::string FormatTime(const tm& time, const char* format) {
  char buffer[255];
  return std::string(buffer, strftime(buffer, sizeof buffer, format, &time));
}

}  // namespace

bool AddItem(Cart& cart, const Book& book) {
  if (cart.IsContain(GetString(book, Book::kEan))) return false;
  cart.orderItems.push_back(book);
  return true;
}

bool RemoveItem(Cart& cart, unsigned int index) {
  if (index >= cart.GetSize()) return false;
  cart.orderItems.erase(cart.orderItems.begin() + index);
  return true;
}

bool RemoveItem(Cart& cart, const Book& book) {
  const auto item = FindByEan(cart.orderItems, GetString(book, Book::kEan));
  if (item == cart.orderItems.end()) return false;
  cart.orderItems.erase(item);
  return true;
}

void Cart::Load() {
  Json::Value json;
  // Compatibility: of a damaged file, what the reader built counts.
  if (!ParseJson(ReadFile(paths::kCart), json) || !json.isObject()) MarkDamaged(paths::kCart);
  FromJson(json);
}

void Cart::Save() {
  ReplaceFile(paths::kCart, SerializeCart(*this));
}

void Cart::Clear() {
  orderItems.clear();
  Save();
}

void Cart::AddToCart(const Book& book) {
  if (AddItem(*this, book)) Save();
}

// Compatibility: two books without an EAN are the same book.
bool Cart::IsContain(std::string ean) const {
  return FindByEan(orderItems, ean) != orderItems.end();
}

void Cart::RemoveFromCart(unsigned int index) {
  if (RemoveItem(*this, index)) Save();
}

void Cart::RemoveFromCart(const Book& book) {
  if (RemoveItem(*this, book)) Save();
}

const Book& Cart::GetItem(unsigned int index) const {
  static const Book kNone;
  return index < GetSize() ? orderItems[index] : kNone;
}

unsigned int Cart::GetSize() const {
  return static_cast<unsigned int>(orderItems.size());
}

void Cart::SetItemsCurrency(const std::string& currency) {
  for (Book& item : orderItems) item.string_props[Book::kCurrency] = currency;
}

void Cart::FromJson(const Json::Value& json) {
  orderItems.clear();
  if (!json.isObject()) return;

  const Json::Value& items = GetMember(json, "orderItems");
  if (items.isArray()) {
    for (const Json::Value& item : items) orderItems.push_back(Book::FromJson(item));
  }
  opdsSessionId = ToString(GetMember(json, "opdsSessionId"));
  const Json::Value& order = GetMember(json, "order");
  if (!order.isObject()) return;
  orderId = ToString(GetMember(order, "orderId"));
  userID = ToString(GetMember(order, "userID"));
  // Compatibility: the cart file has another key than the server, so the time is not read back.
  cartLastChange = ToString(GetMember(order, "lastUpdated"));
  orderAmount = ParseNumber(ToString(GetMember(order, "orderAmount")));
}

Json::Value Cart::ToJson() const {
  Json::Value order(Json::objectValue);
  order["cartLastChange"] = cartLastChange;
  order["orderAmount"] = orderAmount;  // Compatibility: a real number is not read back.
  order["orderId"] = orderId;
  order["userID"] = userID;

  Json::Value items(Json::arrayValue);
  for (const Book& item : orderItems) items.append(item.ToJson());

  Json::Value json(Json::objectValue);
  json["opdsSessionId"] = opdsSessionId;
  json["order"] = std::move(order);
  json["orderItems"] = std::move(items);
  return json;
}

double Cart::GetTotalPrice() const {
  return SumInCents(orderItems) / 100.0;
}

std::string Cart::GetTotalPriceFormatted() const {
  if (orderItems.empty()) return "0";
  const std::int32_t cents = SumInCents(orderItems);
  std::ostringstream out;
  out.imbue(std::locale::classic());  // Compatibility: a comma in every locale.
  out << cents / 100 << ',' << std::setw(2) << std::setfill('0') << cents % 100 << ' '
      << GetString(orderItems.front(), Book::kCurrency);
  return out.str();
}

bool ConvertDateTime(const std::string& input, std::string& date, std::string& time) {
  tm parsed{};
  if (strptime(input.c_str(), "%Y-%m-%d %H:%M:%S", &parsed) == nullptr) return false;
  date = FormatTime(parsed, "%d.%m.%Y");
  time = FormatTime(parsed, "%H:%M");
  return true;
}

}  // namespace saltmoor::quire
