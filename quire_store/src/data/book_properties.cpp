#include "book_properties.h"

#include <algorithm>

namespace saltmoor::quire {

const std::string& GetString(const Book& book, Book::StringProps property) {
  static const std::string kNone;
  const auto value = book.string_props.find(property);
  return value != book.string_props.end() ? value->second : kNone;
}

std::vector<Book>::const_iterator FindByEan(const std::vector<Book>& books,
                                            const std::string& ean) {
  return std::find_if(books.begin(), books.end(),
                      [&](const Book& book) { return GetString(book, Book::kEan) == ean; });
}

}  // namespace saltmoor::quire
