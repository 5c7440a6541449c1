#ifndef QUIRE_BOOK_PROPERTIES_H_
#define QUIRE_BOOK_PROPERTIES_H_

#include <string>
#include <vector>

#include "book.h"

namespace saltmoor::quire {

/// A string property of a book; empty when the book has none. Valid as long as the book is
/// unchanged.
const std::string& GetString(const Book& book, Book::StringProps property);

/// The first book with exactly this EAN, a missing one counting as empty; the end when there is
/// none.
std::vector<Book>::const_iterator FindByEan(const std::vector<Book>& books, const std::string& ean);

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_PROPERTIES_H_
