#ifndef QUIRE_APP_SAVED_BOOKS_H_
#define QUIRE_APP_SAVED_BOOKS_H_

#include <map>
#include <string>

#include "session.h"
#include "state_file.h"

namespace app {

/// The paths under which downloaded books were saved, by EAN, kept in a file of the application.
/// The library finds a book only under the names that it generates; the file system may have
/// shortened the name, and the shop may have sent another format.
class SavedBooks {
 public:
  /// Reads the file; one that is missing or unreadable has no entries.
  explicit SavedBooks(std::string file = std::string(kStateDirectory) + "quire_saved_books.json");

  /// The paths by EAN; a file may be gone.
  const std::map<std::string, std::string>& paths() const { return paths_; }

  /// The path of the book's file, where the library finds it or where it was saved; empty when
  /// there is none.
  std::string Find(const store::Book& book) const;

  /// The manager's status of a bought book, with a file that only Find finds taken into account.
  store::BookStatus GetStatus(store::StoreManager& manager, const store::Book& book) const;

  /// Adds a path, drops entries whose file is gone, and replaces the file atomically (mode 0600).
  /// \return false when the file could not be written; the entry then lasts as long as the object.
  [[nodiscard]] bool Add(const std::string& ean, const std::string& path);

 private:
  std::string file_;
  std::map<std::string, std::string> paths_;  // by EAN
};

}  // namespace app

#endif  // QUIRE_APP_SAVED_BOOKS_H_
