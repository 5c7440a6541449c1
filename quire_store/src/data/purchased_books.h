#ifndef QUIRE_PURCHASED_BOOKS_H_
#define QUIRE_PURCHASED_BOOKS_H_

#include <string_view>
#include <unordered_map>
#include <vector>

#include "book.h"
#include "first_failure.h"
#include "server_api.h"

namespace saltmoor::quire {

/// The books that the user has bought, as last fetched. Not thread-safe.
class PurchasedBooks {
 public:
  /// \param failure  receives why a fetch failed; both must outlive this.
  PurchasedBooks(ServerApi& server_api, FirstFailure& failure)
      : server_api_(server_api), failure_(failure) {}

  /// Replaces the books by the shop's list; by none on failure.
  void Fetch();

  /// Removes all books; the list is then not known.
  void Clear();

  /// Whether the last fetch succeeded.
  bool IsKnown() const { return known_; }

  const std::vector<Book>& Get() const { return books_; }

  /// The first book with exactly this EAN, a missing one counting as empty; null when there is
  /// none. Valid until the books change.
  const Book* Find(std::string_view ean) const;

 private:
  void Set(std::vector<Book> books, bool known);

  ServerApi& server_api_;
  FirstFailure& failure_;
  std::vector<Book> books_;
  std::unordered_map<std::string_view, const Book*> by_ean_;
  bool known_ = false;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_PURCHASED_BOOKS_H_
