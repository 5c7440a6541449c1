/// \file
/// The device's library of books: a SQLite file that other programs read.

#ifndef DEVICE_SCANNER_LIBRARY_H_
#define DEVICE_SCANNER_LIBRARY_H_

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace scanner {

struct BookFile {
  std::string path;
  std::string format;  ///< the extension in lower case, without the dot
  std::int64_t size_bytes = 0;
  std::int64_t modified = 0;  ///< seconds since the epoch
};

/// The file cannot be opened or written. The text says which and why.
struct LibraryError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The file is no library, or a damaged one.
struct LibraryDamaged : LibraryError {
  using LibraryError::LibraryError;
};

/// All that is done between construction and Commit() becomes visible at once; without Commit(),
/// nothing does.
class Library {
 public:
  explicit Library(const std::filesystem::path& file);
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// The books recorded below a folder, by path.
  std::vector<BookFile> BooksBelow(const std::string& folder);
  /// Records a book, in place of what was recorded under its path. An empty title or author is
  /// stored as null.
  void Put(const BookFile& book, const std::string& title, const std::string& author);
  void Remove(const std::string& path);
  void Commit();

 private:
  struct Finalize {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

  void Check(int code) const;
  void Execute(const char* sql);
  Statement Prepare(const char* sql);
  void Bind(const Statement& statement, int place, const std::string& text);
  bool Step(const Statement& statement);

  std::filesystem::path file_;
  std::unique_ptr<sqlite3, Finalize> database_;
};

/// Renames a damaged library to a free name beside it, so that a new one can be made.
/// \return the new name.
std::filesystem::path MoveAside(const std::filesystem::path& file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_LIBRARY_H_
