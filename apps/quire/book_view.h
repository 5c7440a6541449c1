#ifndef QUIRE_APP_BOOK_VIEW_H_
#define QUIRE_APP_BOOK_VIEW_H_

#include <string>
#include <vector>

#include "json_output.h"
#include "session.h"

namespace app {

/// The book's property; empty when it is absent.
std::string GetString(const store::Book& book, store::Book::StringProps property);

/// The first of some books with that EAN; null when there is none.
const store::Book* FindByEan(const std::vector<store::Book>& books, const std::string& ean);

/// A title in quotation marks for a sentence, truncated to 60 columns.
std::string QuoteTitle(const std::string& title);

/// The book's title; its EAN where it has none.
std::string DisplayTitle(const store::Book& book);

/// A book's "ean", "title", "author", "format", "price_hundredths", "currency" and "date"; null
/// where unknown.
Json BookToJson(const store::Book& book);

/// A title's EAN as a user typed it, without hyphens and spaces; anything else unchanged.
std::string NormalizeEan(const std::string& typed);

/// The position that a user typed, such as "2" or "#2"; 0 for anything else.
unsigned ParsePosition(const std::string& typed);

struct CartItem {
  unsigned position;  ///< counted from 1; a title that the shop left out of an order leaves a gap
  store::Book book;
};

/// The cart's titles as they are numbered everywhere: in the order in which they were added, which
/// the shop's order does not change.
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
