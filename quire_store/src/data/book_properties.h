#ifndef QUIRE_BOOK_PROPERTIES_H_
#define QUIRE_BOOK_PROPERTIES_H_

#include <string>

#include "book.h"

namespace saltmoor::quire {

/// A textual property of a book; the empty text when the book lacks it. Valid as long as the book
/// is unchanged.
const std::string& TextOf(const Book& book, Book::StringProps property);

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_PROPERTIES_H_
