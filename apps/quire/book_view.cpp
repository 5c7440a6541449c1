#include "book_view.h"

#include <algorithm>
#include <cmath>

#include "money.h"
#include "table.h"
#include "text.h"

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

std::string GetString(const store::Book& book, store::Book::StringProps property) {
  const auto found = book.string_props.find(property);
  return found == book.string_props.end() ? std::string() : found->second;
}

const store::Book* FindByEan(const std::vector<store::Book>& books, const std::string& ean) {
  const auto found = std::find_if(books.begin(), books.end(), [&](const store::Book& book) {
    return GetString(book, store::Book::kEan) == ean;
  });
  return found == books.end() ? nullptr : &*found;
}

std::string QuoteTitle(const std::string& title) {
  constexpr int kColumns = 60;
  return "“" + Truncate(MakePrintable(title), kColumns) + "”";
}

std::string DisplayTitle(const store::Book& book) {
  const std::string title = GetString(book, store::Book::kTitle);
  return title.empty() ? GetString(book, store::Book::kEan) : title;
}

Json BookToJson(const store::Book& book) {
  const auto text = [&](store::Book::StringProps property) {
    return StringOrNull(GetString(book, property));
  };
  const auto price = book.int_props.find(store::Book::kPrice);
  return {{"ean", text(store::Book::kEan)},
          {"title", text(store::Book::kTitle)},
          {"author", text(store::Book::kAuthor)},
          {"format", text(store::Book::kEbookFormat)},
          {"price_hundredths", price == book.int_props.end() ? Json() : Json(price->second)},
          {"currency", text(store::Book::kCurrency)},
          {"date", StringOrNull(MakePrintable(GetString(book, store::Book::kDate)))}};
}

void PrintCart(const store::Cart& cart) {
  Table table({{"#", 0, true}, {"Title", 16}, {"Author", 10}, {"Price", 0, true}, {"EAN"}});
  for (unsigned i = 0; i < cart.GetSize(); ++i) {
    const store::Book& book = cart.GetItem(i);
    table.AddRow({"#" + std::to_string(i + 1), GetString(book, store::Book::kTitle),
                  GetString(book, store::Book::kAuthor), FormatBookPrice(book),
                  GetString(book, store::Book::kEan)});
  }
  table.Print();
  Screen::Out().PrintLine("Total: " + cart.GetTotalPriceFormatted(), Style::kBold);
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
          {"order_id", StringOrNull(cart.orderId)}};
}

}  // namespace app
