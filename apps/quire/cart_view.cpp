#include "cart_view.h"

#include <cmath>

#include "money.h"
#include "screen.h"
#include "table.h"

namespace app {
namespace {

std::string FormatBookPrice(const store::Book& book) {
  const auto price = book.int_props.find(store::Book::kPrice);
  const std::string currency = GetString(book, store::Book::kCurrency);
  // An unknown price is 0 without a currency.
  const bool is_known = price != book.int_props.end() && (price->second != 0 || !currency.empty());
  return is_known ? FormatPrice(price->second, currency) : "-";
}

}  // namespace

void PrintCart(const store::Cart& cart) {
  const Screen& out = Screen::Out();
  Table table({{"#", 0, true}, {"Title", 16}, {"Author", 10}, {"Price", 0, true}, {"EAN"}});
  for (unsigned i = 0; i < cart.GetSize(); ++i) {
    const store::Book& book = cart.GetItem(i);
    table.AddRow({"#" + std::to_string(i + 1), GetString(book, store::Book::kTitle),
                  GetString(book, store::Book::kAuthor), FormatBookPrice(book),
                  GetString(book, store::Book::kEan)});
  }
  table.Print(out);
  out.PrintLine("Total: " + cart.GetTotalPriceFormatted(), Style::kBold);
}

Json CartToJson(const store::Cart& cart) {
  Json items = Json::array();
  for (unsigned i = 0; i < cart.GetSize(); ++i) {
    Json item = {{"position", i + 1}};
    item.update(BookToJson(cart.GetItem(i)));
    items.push_back(std::move(item));
  }
  return {{"items", std::move(items)},
          {"total_hundredths", std::llround(cart.GetTotalPrice() * 100)},
          {"total", cart.GetTotalPriceFormatted()},
          {"order_id", cart.orderId.empty() ? Json() : Json(cart.orderId)}};
}

}  // namespace app
