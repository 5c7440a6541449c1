#include <memory>

#include "book_view.h"
#include "commands.h"
#include "downloads.h"
#include "failure_message.h"
#include "json_output.h"
#include "saved_books.h"
#include "screen.h"

namespace app {
namespace {

/// The bought books with these EANs, in their order; `missing` receives the EANs of the others.
std::vector<store::Book> Select(const std::vector<store::Book>& bought,
                                const std::vector<std::string>& eans, std::string& missing) {
  std::vector<store::Book> books;
  for (const std::string& ean : eans) {
    if (const store::Book* found = FindByEan(bought, ean)) {
      books.push_back(*found);
    } else {
      missing += (missing.empty() ? "" : ", ") + ean;
    }
  }
  return books;
}

/// Downloads a book that is not on the device yet.
/// \return "ean", "title", "status" ("downloaded", "present" or "failed"), "path" and "reason".
Json DownloadOne(Session& session, const store::Book& book, bool as_json) {
  Json json = {{"ean", GetString(book, store::Book::kEan)},
               {"title", DisplayTitle(book)},
               {"status", "present"},
               {"path", Json()},
               {"reason", Json()}};
  std::string path = SavedBooks().Find(book);
  if (!path.empty()) {
    if (!as_json) {
      Screen::Out().PrintLine(QuoteTitle(DisplayTitle(book)) + " is on the device already:");
      Screen::Out().PrintPath(path);
    }
  } else {
    store::Failure failure;
    path = DownloadBook(session, book, &failure);
    json["status"] = path.empty() ? "failed" : "downloaded";
    if (path.empty()) {
      json["reason"] = DescribeFailure(failure);
      PrintDownloadFailed(book, failure);
    } else if (!as_json) {
      PrintDownloaded(book, path);
    }
  }
  if (!path.empty()) json["path"] = path;
  return json;
}

void DownloadBooks(Session& session, const std::vector<std::string>& eans, bool all, bool as_json) {
  if (eans.empty() && !all) {
    throw CommandError(kUsage,
                       "No book was named. Give EANs as \"quire books\" lists them, or --all.");
  }
  const std::vector<store::Book> bought = session.PurchasedBooks();
  std::string missing;
  const auto books = all ? bought : Select(bought, eans, missing);
  Json json = Json::array();
  bool failed = false;
  for (const store::Book& book : books) {
    json.push_back(DownloadOne(session, book, as_json));
    failed = failed || json.back()["status"] == "failed";
  }
  if (as_json) PrintJson(json);
  if (all && books.empty() && !as_json) {
    Screen::Out().PrintLine(kNothingBought);
  }
  if (!missing.empty()) {
    throw CommandError(
        kNotFound, "You have not bought " + missing + ". See what you have with \"quire books\".");
  }
  if (failed) throw CommandError(kFailed, "");
}

}  // namespace

void AddDownloadCommand(CLI::App& cli, Session& session) {
  const auto eans = std::make_shared<std::vector<std::string>>();
  const auto all = std::make_shared<bool>(false);
  const auto as_json = std::make_shared<bool>(false);
  CLI::App* command = cli.add_subcommand("download", "Get bought books onto the device");
  CLI::Option* named = command->add_option("EAN", *eans, "EANs of the books");
  command->add_flag("--all", *all, "All that you have bought")->excludes(named);
  command->add_flag("--json", *as_json, "As JSON");
  command->callback(
      [&session, eans, all, as_json] { DownloadBooks(session, *eans, *all, *as_json); });
}

}  // namespace app
