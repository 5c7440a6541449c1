#include "purchased_books.h"

#include <utility>

#include "book_properties.h"

namespace saltmoor::quire {

void PurchasedBooks::Fetch() {
  auto [result, books] = failure_.RecordCall(server_api_.GetUserEbook());
  Set(std::move(books), !server_api_.GetLastFailure());
}

void PurchasedBooks::Clear() {
  Set({}, false);
}

const Book* PurchasedBooks::Find(std::string_view ean) const {
  const auto book = by_ean_.find(ean);
  return book != by_ean_.end() ? book->second : nullptr;
}

void PurchasedBooks::Set(std::vector<Book> books, bool known) {
  by_ean_.clear();
  books_ = std::move(books);
  by_ean_.reserve(books_.size());
  for (const Book& book : books_) by_ean_.emplace(GetString(book, Book::kEan), &book);
  known_ = known;
}

}  // namespace saltmoor::quire
