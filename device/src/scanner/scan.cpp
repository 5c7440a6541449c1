#include "scan.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <SQLiteCpp/VariadicBind.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <boost/algorithm/string/predicate.hpp>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "../text.h"
#include "book_metadata.h"
#include "tabulet.h"

namespace fs = std::filesystem;

namespace scanner {
namespace {

constexpr int kMaxDepth = 32;
constexpr int kMaxEntries = 200'000;
constexpr int kBusyTimeout_ms = 5000;  // while other programs read

struct BookFile {
  std::string path;
  std::string format;  ///< the lower-case extension, without the dot
  std::int64_t size_bytes = 0;
  std::int64_t modified_s = 0;  ///< since the epoch
};

/// The longest extension of the name that the device supports; empty if there is none.
std::string FindFormat(const std::string& name) {
  std::string format;
  for (const tb_file_type* type = GetSupportedFileTypes(); type->extension; ++type) {
    const std::string extension = type->extension;
    if (extension.size() > format.size() && boost::iends_with(name, "." + extension))
      format = extension;
  }
  return format;
}

std::vector<BookFile> FindBookFiles(const fs::path& directory) {
  std::error_code error;
  fs::recursive_directory_iterator entry(directory, fs::directory_options::skip_permission_denied,
                                         error);
  if (error) throw std::runtime_error("cannot read " + directory.string() + ": " + error.message());
  std::vector<BookFile> books;
  for (int count = 0; entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    if (++count > kMaxEntries) {
      std::cerr << "scanner: " << MakePrintable(directory.string()) << " holds more than "
                << kMaxEntries << " files; the rest is ignored\n";
      break;
    }
    const std::string name = entry->path().filename().string();
    if (name.starts_with('.') || entry.depth() >= kMaxDepth) entry.disable_recursion_pending();
    const std::string format = FindFormat(name);
    struct stat status;
    if (name.starts_with('.') || format.empty() || lstat(entry->path().c_str(), &status) != 0 ||
        !S_ISREG(status.st_mode)) {
      continue;
    }
    books.push_back({entry->path().string(), format, status.st_size, status.st_mtim.tv_sec});
  }
  // The iterator ends early at a directory that was removed or cannot be read.
  if (error) throw std::runtime_error("cannot read " + directory.string() + ": " + error.message());
  return books;
}

bool IsDeleted(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return errno == ENOENT || errno == ENOTDIR;
  return !S_ISREG(status.st_mode);
}

/// Throws SQLite::Exception if the library is damaged or the table is that of another program.
void PrepareTable(SQLite::Database* library) {
  library->exec(
      "CREATE TABLE IF NOT EXISTS books(path TEXT PRIMARY KEY, format TEXT NOT NULL,"
      " size INTEGER NOT NULL, modified INTEGER NOT NULL, title TEXT, author TEXT)");
  if (library->execAndGet("PRAGMA quick_check(1)").getString() != "ok") {
    throw SQLite::Exception("the integrity check failed", SQLITE_CORRUPT);
  }
  SQLite::Statement(*library, "SELECT path, format, size, modified, title, author FROM books");
}

/// The recorded books in a directory and below it, by their paths.
std::map<std::string, LibraryBook> FindRecordedBooks(const SQLite::Database& library,
                                                     const std::string& directory) {
  SQLite::Statement select(library,
                           "SELECT path, format, size, modified, title, author FROM books"
                           " WHERE path > ? AND path < ?");
  const std::string parent = directory == "/" ? "" : directory;
  SQLite::bind(select, parent + "/", parent + "0");  // the character after '/'
  std::map<std::string, LibraryBook> books;
  while (select.executeStep()) {
    const LibraryBook book = select.getColumns<LibraryBook, 6>();
    books.emplace(book.path, book);
  }
  return books;
}

BookMetadata TryReadMetadata(const BookFile& book) try {
  return ReadMetadata(book.path, book.format);
} catch (const std::exception& error) {
  std::cerr << "scanner: cannot read " << MakePrintable(book.path) << ": " << error.what() << '\n';
  return {};
}

/// Inserts a book, or replaces the one with the same path.
void InsertOrReplace(const SQLite::Database& library, const BookFile& book,
                     const BookMetadata& metadata) {
  SQLite::Statement put(library,
                        "INSERT OR REPLACE INTO books(path, format, size, modified, title, author)"
                        " VALUES(?, ?, ?, ?, nullif(?, ''), nullif(?, ''))");
  SQLite::bind(put, book.path, book.format, book.size_bytes, book.modified_s, metadata.title,
               metadata.author);
  put.exec();
}

void Remove(const SQLite::Database& library, const std::string& path) {
  SQLite::Statement remove(library, "DELETE FROM books WHERE path = ?");
  remove.bind(1, path);
  remove.exec();
}

/// Makes all changes in one transaction. Throws SQLite::Exception.
ScanResult UpdateBooks(const std::string& directory, const std::vector<BookFile>& found,
                       SQLite::Database* library) {
  SQLite::Transaction transaction(*library, SQLite::TransactionBehavior::IMMEDIATE);
  PrepareTable(library);
  std::map<std::string, LibraryBook> recorded = FindRecordedBooks(*library, directory);

  ScanResult result;
  for (const BookFile& book : found) {
    ++result.books;
    const auto known = recorded.extract(book.path);
    const bool unchanged = known && known.mapped().size_bytes == book.size_bytes &&
                           known.mapped().modified_s == book.modified_s;
    if (unchanged && !known.mapped().title.empty()) continue;
    if (!known) ++result.new_books;
    const BookMetadata metadata = TryReadMetadata(book);
    if (unchanged && metadata.title.empty()) continue;
    InsertOrReplace(*library, book, metadata);
  }
  for (const auto& [path, book] : recorded) {
    if (!IsDeleted(path)) continue;  // in a directory that the walk skipped
    Remove(*library, path);
    ++result.deleted_books;
  }
  transaction.commit();
  return result;
}

/// Whether the file is damaged or not a library, rather than busy or on a failing or full disk.
bool IsDamaged(const SQLite::Exception& error) {
  const int kind = error.getErrorCode() & 0xFF;
  return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB || kind == SQLITE_ERROR;
}

/// Throws SQLite::Exception.
ScanResult UpdateLibrary(const std::string& directory, const std::vector<BookFile>& found,
                         const fs::path& file) {
  SQLite::Database library(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE,
                           kBusyTimeout_ms);
  chmod(file.c_str(), 0600);
  try {
    return UpdateBooks(directory, found, &library);
  } catch (const SQLite::Exception& error) {
    int read_error = 0;  // SQLite reports damage after some failed reads
    sqlite3_file_control(library.getHandle(), "main", SQLITE_FCNTL_LAST_ERRNO, &read_error);
    if (!IsDamaged(error) || read_error == 0) throw;
    throw SQLite::Exception(std::strerror(read_error), SQLITE_IOERR);
  }
}

/// Renames a damaged library to a free name in its directory.
/// \return the new path.
fs::path MoveAside(const fs::path& file) {
  fs::path aside = file;
  aside += ".damaged";
  for (int number = 2; fs::exists(aside); ++number) {
    aside = file;
    aside += ".damaged-" + std::to_string(number);
  }
  std::error_code error;
  // First the journal: if it stayed, it would be applied to the new library.
  fs::rename(file.string() + "-journal", aside.string() + "-journal", error);
  fs::rename(file, aside, error);
  if (error) {
    throw std::runtime_error(file.string() +
                             " is damaged and cannot be moved aside: " + error.message());
  }
  return aside;
}

}  // namespace

ScanResult Scan(const fs::path& directory, const fs::path& library_file) {
  std::string name = fs::absolute(directory).lexically_normal().string();
  if (name.size() > 1 && name.ends_with('/')) name.pop_back();
  const std::vector<BookFile> found = FindBookFiles(name);
  for (bool renewed = false;; renewed = true) {
    try {
      return UpdateLibrary(name, found, library_file);
    } catch (const SQLite::Exception& error) {
      const std::string message = library_file.string() + ": " + error.what();
      if (renewed || !IsDamaged(error)) throw std::runtime_error(message);
      const fs::path aside = MoveAside(library_file);
      std::cerr << "scanner: " << MakePrintable(message + "; moved to " + aside.string())
                << ", and a new library is created\n";
    }
  }
}

std::vector<LibraryBook> ReadLibrary(const fs::path& library_file) try {
  std::vector<LibraryBook> books;
  if (!fs::exists(library_file)) return books;
  // Not read-only: the transaction of a scan that was killed may have to be rolled back.
  const SQLite::Database library(library_file.string(), SQLite::OPEN_READWRITE, kBusyTimeout_ms);
  if (!library.tableExists("books")) return books;  // its first scan has not succeeded yet
  SQLite::Statement query(
      library, "SELECT path, format, size, modified, title, author FROM books ORDER BY path");
  while (query.executeStep()) books.push_back(query.getColumns<LibraryBook, 6>());
  return books;
} catch (const SQLite::Exception& error) {
  throw std::runtime_error(library_file.string() + ": " + error.what());
}

}  // namespace scanner
