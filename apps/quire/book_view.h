#ifndef QUIRE_APP_BOOK_VIEW_H_
#define QUIRE_APP_BOOK_VIEW_H_

#include <cstdint>
#include <string>
#include <vector>

#include "json_output.h"
#include "session.h"
#include "table.h"

namespace app {

/// The book's property; empty when it is absent.
std::string GetString(const store::Book& book, store::Book::StringProps property);

/// The first of some books with that EAN; null when there is none.
const store::Book* FindByEan(const std::vector<store::Book>& books, const std::string& ean);

/// A title in quotation marks for a sentence, truncated to 60 columns.
std::string QuoteTitle(const std::string& title);

/// A size such as "12 kB" or "3.4 MB".
std::string FormatSize(std::int64_t bytes);

/// The book's title; its EAN where it has none.
std::string DisplayTitle(const store::Book& book);

/// A book's "ean", "title", "author", "format", "price_hundredths", "currency" and "date"; null
/// where unknown.
Json BookToJson(const store::Book& book);

/// The state of a book in JSON, such as "in_cart".
const char* StatusKey(const store::BookStatus& status);

/// The state of a book, and while it downloads, how far it is.
Cell StatusCell(const store::BookStatus& status);

struct CartItem {
  unsigned position;  ///< counted from 1; a title that the shop left out of an order leaves a gap
  store::Book book;
};

/// The cart's titles as they are numbered everywhere: in the order in which they were added, which
/// the shop's order does not change. Does not ask the shop.
std::vector<CartItem> ListCart(Session& session);

/// Numbers the titles anew, without gaps, in the order of ListCart.
void NumberCart(Session& session);

/// Numbers the titles anew and saves the cart in their order; to be called after a change.
void SaveCart(Session& session);

/// Prints the cart's items and its total.
void PrintCart(Session& session);

/// "items" (a book each, with its "position"), "total_hundredths", "total" and "order_id".
Json CartToJson(Session& session);

}  // namespace app

#endif  // QUIRE_APP_BOOK_VIEW_H_
