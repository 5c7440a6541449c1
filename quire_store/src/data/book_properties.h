#ifndef QUIRE_BOOK_PROPERTIES_H_
#define QUIRE_BOOK_PROPERTIES_H_

#include <algorithm>
#include <string>
#include <vector>

#include "book.h"

namespace saltmoor::quire {

/// A string property of a book; empty when the book has none. Valid as long as the book is
/// unchanged.
inline const std::string& GetString(const Book& book, Book::StringProps property) {
  static const std::string kNone;
  const auto value = book.string_props.find(property);
  return value != book.string_props.end() ? value->second : kNone;
}

/// The JSON key of the price, which is in no table of Book.
inline constexpr char kPriceKey[] = "orderItemPrice";

/// The price as the cart file has it.
// Compatibility: six significant digits, which lose the cents of a large price.
std::string FormatPrice(const Book& book);

/// The first book with exactly this EAN, a missing one counting as empty; the end when there is
/// none.
inline std::vector<Book>::const_iterator FindByEan(const std::vector<Book>& books,
                                                   const std::string& ean) {
  return std::find_if(books.begin(), books.end(),
                      [&](const Book& book) { return GetString(book, Book::kEan) == ean; });
}

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_PROPERTIES_H_
