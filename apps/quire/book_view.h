#ifndef QUIRE_APP_BOOK_VIEW_H_
#define QUIRE_APP_BOOK_VIEW_H_

#include <string>

#include "session.h"
#include "table.h"

namespace app {

/// Shown for an empty list of bought books, which must be known.
inline constexpr char kNothingBought[] =
    "You have bought no books yet. See what there is with \"quire catalogue\".";

/// A title in quotation marks for a sentence, truncated to 60 columns.
std::string QuoteTitle(const std::string& title);

/// The book's title; its EAN where it has none.
std::string DisplayTitle(const store::Book& book);

/// A status for a table, such as "downloading 45 %".
Cell StatusCell(const store::BookStatus& status);

/// A status for JSON: "not_bought", "in_cart", "bought", "downloading" or "downloaded".
std::string StatusKey(const store::BookStatus& status);

}  // namespace app

#endif  // QUIRE_APP_BOOK_VIEW_H_
