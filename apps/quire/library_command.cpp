#include <sqlite3.h>
#include <unistd.h>

#include <memory>

#include "command_error.h"
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

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

struct LibraryBook {
  std::string path, format, title, author;
  long long size_bytes = 0;
  long long modified_s = 0;
};

CommandError Unreadable(const Database& database) {
  const int code = sqlite3_errcode(database.get());
  if (code == SQLITE_BUSY || code == SQLITE_LOCKED) {
    return {kDevice, "The scanner is writing the device's library. Try again in a few seconds."};
  }
  return {kDevice, std::string("The device's library ") + kLibraryFile + " cannot be read (" +
                       sqlite3_errmsg(database.get()) +
                       "). Delete it; the scanner creates a new one after the next download."};
}

std::vector<LibraryBook> ReadLibrary() {
  std::vector<LibraryBook> books;
  if (access(kLibraryFile, F_OK) != 0) return books;
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(kLibraryFile, &opened, SQLITE_OPEN_READONLY, nullptr);
  const Database database(opened);
  if (result != SQLITE_OK) throw Unreadable(database);
  sqlite3_busy_timeout(opened, kBusyTimeout_ms);
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(opened, kQuery, -1, &prepared, nullptr) != SQLITE_OK) {
    throw Unreadable(database);
  }
  const Statement statement(prepared);
  const auto text = [&](int column) {
    const unsigned char* value = sqlite3_column_text(prepared, column);
    return value == nullptr ? std::string() : reinterpret_cast<const char*>(value);
  };
  int step = SQLITE_ROW;
  while ((step = sqlite3_step(prepared)) == SQLITE_ROW) {
    books.push_back({text(0), text(1), text(4), text(5), sqlite3_column_int64(prepared, 2),
                     sqlite3_column_int64(prepared, 3)});
  }
  if (step != SQLITE_DONE) throw Unreadable(database);
  return books;
}

std::string FormatSize(long long bytes) {
  if (bytes < 1'000'000) return std::to_string((bytes + 999) / 1000) + " kB";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1e6);
  return text;
}

void ShowLibrary(bool as_json) {
  const std::vector<LibraryBook> books = ReadLibrary();
  if (as_json) {
    Json json = Json::array();
    const auto text = [](const std::string& value) { return value.empty() ? Json() : Json(value); };
    for (const LibraryBook& book : books) {
      json.push_back({{"path", book.path},
                      {"title", text(book.title)},
                      {"author", text(book.author)},
                      {"format", book.format},
                      {"size_bytes", book.size_bytes},
                      {"modified_s", book.modified_s}});
    }
    return PrintJson(json);
  }
  if (books.empty()) {
    Screen::Out().PrintLine(
        "The device's scanner has recorded no books yet. Get some with \"quire "
        "download --all\".");
    return;
  }
  Table table({{"Title", 16}, {"Author", 10}, {"Format"}, {"Size", 0, true}, {"File", 14}});
  for (const LibraryBook& book : books) {
    const std::string file = book.path.substr(book.path.rfind('/') + 1);
    const bool has_title = !book.title.empty();
    table.AddRow({has_title ? book.title : file, book.author, book.format,
                  FormatSize(book.size_bytes), has_title ? file : ""});
  }
  table.Print(Screen::Out());
}

}  // namespace

void AddLibraryCommand(CLI::App& cli) {
  const auto as_json = std::make_shared<bool>(false);
  CLI::App* command = cli.add_subcommand("library", "List what the device's scanner has recorded");
  command->add_flag("--json", *as_json, "As JSON");
  command->callback([as_json] { ShowLibrary(*as_json); });
}

}  // namespace app
