#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>

#include "commands.h"
#include "json_output.h"
#include "screen.h"
#include "table.h"

namespace app {
namespace {

constexpr char kLibraryFile[] = "/mnt/ext1/system/library.sqlite";
constexpr char kQuery[] =
    "SELECT path, format, size, modified, title, author FROM books ORDER BY path";
constexpr int kBusyTimeout_ms = 2000;  // the scanner may be writing

struct LibraryBook {
  std::string path, format, title, author;
  long long size_bytes = 0;
  long long modified_s = 0;
};

CommandError Unreadable(const SQLite::Exception& error) {
  const int code = error.getErrorCode();
  if (code == SQLITE_BUSY || code == SQLITE_LOCKED) {
    return {kDevice, "The scanner is writing the device's library. Try again in a few seconds."};
  }
  return {kDevice, std::string("The device's library ") + kLibraryFile + " cannot be read (" +
                       error.what() +
                       "). Delete it; the scanner creates a new one after the next download."};
}

std::vector<LibraryBook> ReadLibrary() try {
  std::vector<LibraryBook> books;
  if (access(kLibraryFile, F_OK) != 0) return books;
  const SQLite::Database database(kLibraryFile, SQLite::OPEN_READONLY, kBusyTimeout_ms);
  SQLite::Statement query(database, kQuery);
  const auto text = [&](int column) { return query.getColumn(column).getString(); };
  while (query.executeStep()) {
    books.push_back({text(0), text(1), text(4), text(5), query.getColumn(2).getInt64(),
                     query.getColumn(3).getInt64()});
  }
  return books;
} catch (const SQLite::Exception& error) {
  throw Unreadable(error);
}

std::string FormatSize(long long bytes) {
  if (bytes < 1'000'000) return std::to_string((bytes + 999) / 1000) + " kB";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1e6);
  return text;
}

void ShowLibrary(bool as_json) {
  Json json = Json::array();
  Table table({{"Title", 16}, {"Author", 10}, {"Format"}, {"Size", 0, true}, {"File", 14}});
  for (const LibraryBook& book : ReadLibrary()) {
    json.push_back({{"path", book.path},
                    {"title", StringOrNull(book.title)},
                    {"author", StringOrNull(book.author)},
                    {"format", book.format},
                    {"size_bytes", book.size_bytes},
                    {"modified_s", book.modified_s}});
    const std::string file = book.path.substr(book.path.rfind('/') + 1);
    const bool has_title = !book.title.empty();
    table.AddRow({has_title ? book.title : file, book.author, book.format,
                  FormatSize(book.size_bytes), has_title ? file : ""});
  }
  if (as_json) return PrintJson(json);
  if (!json.empty()) return table.Print();
  Screen::Out().PrintLine(
      "The device's scanner has recorded no books yet. Get some with \"quire download --all\".");
}

}  // namespace

void AddLibraryCommand(CLI::App& cli) {
  AddListing(cli, "library", "List what the device's scanner has recorded", ShowLibrary);
}

}  // namespace app
