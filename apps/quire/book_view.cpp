#include "book_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

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

struct StatusView {
  const char* key;
  const char* text;
  Style style;
};

constexpr std::array<StatusView, 5> kStatusViews{{
    // by BookStatus::Status
    {"not_bought", "not bought", Style::kDim},
    {"in_cart", "in the cart", Style::kPlain},
    {"bought", "bought", Style::kPlain},
    {"downloading", "downloading", Style::kPlain},
    {"downloaded", "on the device", Style::kSuccess},
}};

const StatusView& ViewOf(const store::BookStatus& status) {
  return kStatusViews.at(static_cast<std::size_t>(status.status));
}

}  // namespace

const char* StatusKey(const store::BookStatus& status) {
  return ViewOf(status).key;
}

Cell StatusCell(const store::BookStatus& status) {
  const StatusView& view = ViewOf(status);
  const bool has_progress = status.status == store::BookStatus::kDownloading;
  const std::string progress = " " + std::to_string(status.progress) + " %";
  return {view.text + (has_progress ? progress : ""), view.style};
}

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

std::string FormatSize(std::int64_t bytes) {
  if (bytes < 1'000'000) return std::to_string((bytes + 999) / 1000) + " kB";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1e6);
  return text;
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

std::vector<CartItem> ListCart(Session& session) {
  const std::vector<store::Book>& books = session.LocalCart().orderItems;
  std::vector<CartItem> items;
  const auto& numbering = session.cart_numbering;
  for (std::size_t i = 0; i < numbering.size(); ++i) {
    const store::Book* const book = FindByEan(books, numbering[i]);
    if (book != nullptr) items.push_back({static_cast<unsigned>(i + 1), *book});
  }
  auto position = static_cast<unsigned>(numbering.size());
  for (const store::Book& book : books) {
    const std::string ean = GetString(book, store::Book::kEan);
    const bool is_numbered = std::find(numbering.begin(), numbering.end(), ean) != numbering.end();
    if (!is_numbered) items.push_back({++position, book});
  }
  return items;
}

void NumberCart(Session& session) {
  std::vector<std::string> numbering;
  for (const CartItem& item : ListCart(session)) {
    numbering.push_back(GetString(item.book, store::Book::kEan));
  }
  session.cart_numbering = std::move(numbering);
}

void SaveCart(Session& session) {
  NumberCart(session);
  store::Cart cart = session.LocalCart();
  cart.orderItems.clear();
  for (CartItem& item : ListCart(session)) cart.orderItems.push_back(std::move(item.book));
  cart.Save();
}

void PrintCart(Session& session) {
  Table table({{"#", 0, true}, {"Title", 16}, {"Author", 10}, {"Price", 0, true}, {"EAN"}});
  for (const auto& [position, book] : ListCart(session)) {
    table.AddRow({"#" + std::to_string(position), GetString(book, store::Book::kTitle),
                  GetString(book, store::Book::kAuthor), FormatBookPrice(book),
                  GetString(book, store::Book::kEan)});
  }
  table.Print();
  Screen::Out().PrintLine("Total: " + session.LocalCart().GetTotalPriceFormatted(), Style::kBold);
}

Json CartToJson(Session& session) {
  const store::Cart& cart = session.LocalCart();
  Json items = Json::array();
  for (const auto& [position, book] : ListCart(session)) {
    Json item = {{"position", position}};
    item.update(BookToJson(book));
    items.push_back(std::move(item));
  }
  return {{"items", std::move(items)},
          {"total_hundredths", std::llround(cart.GetTotalPrice() * 100)},
          {"total", cart.GetTotalPriceFormatted()},
          {"order_id", StringOrNull(cart.orderId)}};
}

}  // namespace app
