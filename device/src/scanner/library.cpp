#include "library.h"

#include <system_error>

namespace scanner {
namespace {

constexpr int kBusyTimeout_ms = 5000;  // while other programs read

std::string Column(sqlite3_stmt* row, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
  return text ? std::string(text, sqlite3_column_bytes(row, column)) : std::string();
}

}  // namespace

Library::Library(const std::filesystem::path& file) : file_(file) {
  sqlite3* database = nullptr;
  const int code = sqlite3_open(file.c_str(), &database);
  database_.reset(database);
  Check(code);
  sqlite3_busy_timeout(database, kBusyTimeout_ms);
  Execute("BEGIN IMMEDIATE");
  Execute(
      "CREATE TABLE IF NOT EXISTS books(path TEXT PRIMARY KEY, format TEXT NOT NULL,"
      " size INTEGER NOT NULL, modified INTEGER NOT NULL, title TEXT, author TEXT)");
  const Statement check = Prepare("PRAGMA quick_check(1)");
  if (!Step(check) || Column(check.get(), 0) != "ok") {
    throw LibraryDamagedError(file_.string() + ": the integrity check failed");
  }
  // Fails if the table is that of another program.
  Prepare("SELECT path, format, size, modified, title, author FROM books");
}

void Library::Check(int code) const {
  if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE) return;
  const std::string message =
      file_.string() + ": " + (database_ ? sqlite3_errmsg(database_.get()) : "out of memory");
  const int kind = code & 0xFF;
  if (kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB || kind == SQLITE_ERROR) {
    throw LibraryDamagedError(message);
  }
  throw LibraryError(message);
}

void Library::Execute(const char* sql) {
  Check(sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr));
}

Library::Statement Library::Prepare(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  Check(sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr));
  return Statement(statement);
}

void Library::Bind(const Statement& statement, int index, const std::string& text) {
  Check(sqlite3_bind_text(statement.get(), index, text.data(), static_cast<int>(text.size()),
                          SQLITE_TRANSIENT));
}

bool Library::Step(const Statement& statement) {
  const int code = sqlite3_step(statement.get());
  Check(code);
  return code == SQLITE_ROW;
}

std::vector<BookFile> Library::FindBooks(const std::string& directory) {
  const Statement select = Prepare(
      "SELECT path, format, size, modified FROM books WHERE path > ? AND path < ? ORDER BY path");
  const std::string parent = directory == "/" ? "" : directory;
  Bind(select, 1, parent + "/");
  Bind(select, 2, parent + "0");  // the character after '/'
  std::vector<BookFile> books;
  while (Step(select)) {
    sqlite3_stmt* row = select.get();
    books.push_back({Column(row, 0), Column(row, 1), sqlite3_column_int64(row, 2),
                     sqlite3_column_int64(row, 3)});
  }
  return books;
}

void Library::Put(const BookFile& book, const std::string& title, const std::string& author) {
  const Statement put = Prepare(
      "INSERT OR REPLACE INTO books(path, format, size, modified, title, author)"
      " VALUES(?, ?, ?, ?, nullif(?, ''), nullif(?, ''))");
  Bind(put, 1, book.path);
  Bind(put, 2, book.format);
  Check(sqlite3_bind_int64(put.get(), 3, book.size_bytes));
  Check(sqlite3_bind_int64(put.get(), 4, book.modified_s));
  Bind(put, 5, title);
  Bind(put, 6, author);
  Step(put);
}

void Library::Remove(const std::string& path) {
  const Statement remove = Prepare("DELETE FROM books WHERE path = ?");
  Bind(remove, 1, path);
  Step(remove);
}

void Library::Commit() {
  Execute("COMMIT");
}

std::filesystem::path MoveAside(const std::filesystem::path& file) {
  std::filesystem::path aside = file;
  aside += ".damaged";
  for (int number = 2; std::filesystem::exists(aside); ++number) {
    aside = file;
    aside += ".damaged-" + std::to_string(number);
  }
  std::error_code error;
  std::filesystem::rename(file, aside, error);
  if (error) {
    throw LibraryError(file.string() + " is damaged and cannot be moved aside: " + error.message());
  }
  // The journal moves with its database.
  std::filesystem::rename(file.string() + "-journal", aside.string() + "-journal", error);
  return aside;
}

}  // namespace scanner
