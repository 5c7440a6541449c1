/// \file
/// The device's library of books: a SQLite database that other programs read.

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
  std::string format;  ///< the lower-case extension, without the dot
  std::int64_t size_bytes = 0;
  std::int64_t modified_s = 0;  ///< since the epoch
};

/// The database cannot be opened or written. The message names the file and the reason.
struct LibraryError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The file is damaged or not a library.
struct LibraryDamagedError : LibraryError {
  using LibraryError::LibraryError;
};

/// One transaction on the library. Commit() makes all changes visible at once; the destructor drops
/// changes that are not committed. The functions throw LibraryError. Not thread-safe.
class Library {
 public:
  explicit Library(const std::filesystem::path& file);
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// The recorded books in a directory and below it, in the order of their paths.
  std::vector<BookFile> FindBooks(const std::string& directory);
  /// Inserts a book, or replaces the one with the same path. An empty title or author becomes null.
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
  void Bind(const Statement& statement, int index, const std::string& text);
  bool Step(const Statement& statement);

  std::filesystem::path file_;
  std::unique_ptr<sqlite3, Finalize> database_;
};

/// Renames a damaged library to a free name in its directory. Throws LibraryError.
/// \return the new path.
std::filesystem::path MoveAside(const std::filesystem::path& file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_LIBRARY_H_
