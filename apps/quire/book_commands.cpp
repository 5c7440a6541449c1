#include <algorithm>
#include <array>
#include <memory>

#include "book_view.h"
#include "commands.h"
#include "downloads.h"
#include "failure_text.h"
#include "saved_books.h"
#include "table.h"

namespace app {
namespace {

/// Shown for an empty list of bought books, which must be known.
constexpr char kNothingBought[] =
    "You have bought no books yet. See what there is with \"quire catalogue\".";

struct StatusView {
  const char* key;
  const char* text;
  Style style;
};

constexpr std::array<StatusView, 5> kStatusViews{{
    // by BookStatus::Status
    {"not_bought", "not bought", Style::kDim},
    {"in_cart", "in the cart", Style::kPlain},
    {"bought", "bought", Style::kPlain},
    {"downloading", "downloading", Style::kPlain},
    {"downloaded", "on the device", Style::kSuccess},
}};

const StatusView& ViewOf(const store::BookStatus& status) {
  return kStatusViews.at(static_cast<std::size_t>(status.status));
}

Cell StatusCell(const store::BookStatus& status) {
  const StatusView& view = ViewOf(status);
  const bool has_progress = status.status == store::BookStatus::kDownloading;
  const std::string progress = " " + std::to_string(status.progress) + " %";
  return {view.text + (has_progress ? progress : ""), view.style};
}

Json WithStatus(Json json, const store::BookStatus& status) {
  json["status"] = ViewOf(status).key;
  json["path"] = StringOrNull(status.path);
  json["progress_percent"] = status.progress;
  return json;
}

void ShowBooks(Session& session, bool as_json) {
  const std::vector<store::Book> books = session.PurchasedBooks();
  store::StoreManager& manager = session.Store();
  const SavedBooks saved_books;
  Json json = Json::array();
  Table table({{"#", 0, true}, {"Title", 16}, {"Author", 10}, {"Format"}, {"Status"}, {"EAN"}});
  for (const store::Book& book : books) {
    const std::string ean = GetString(book, store::Book::kEan);
    const store::BookStatus status = saved_books.GetStatus(manager, book);
    json.push_back(WithStatus(BookToJson(book), status));
    table.AddRow({"#" + std::to_string(json.size()), DisplayTitle(book),
                  GetString(book, store::Book::kAuthor), GetString(book, store::Book::kEbookFormat),
                  StatusCell(status), ean});
  }
  if (as_json) return PrintJson(json);
  if (!books.empty()) return table.Print();
  Screen::Out().PrintLine(kNothingBought);
}

/// The bought book that the user named by its EAN or by its position in the list of books; null
/// when there is none.
const store::Book* FindNamed(const std::vector<store::Book>& bought, const std::string& typed) {
  if (const store::Book* book = FindByEan(bought, NormalizeEan(typed))) return book;
  const unsigned position = ParsePosition(typed);
  return position >= 1 && position <= bought.size() ? &bought[position - 1] : nullptr;
}

/// Whether a string is an EAN with a correct check digit.
bool IsEan(const std::string& text) {
  constexpr std::size_t kDigits = 13;
  if (text.size() != kDigits || text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  int sum = 0;
  for (std::size_t i = 0; i < kDigits; ++i) sum += (text[i] - '0') * (i % 2 == 0 ? 1 : 3);
  return sum % 10 == 0;
}

void RequireNames(const std::vector<std::string>& names) {
  if (std::find(names.begin(), names.end(), "") == names.end()) return;
  throw CommandError(kUsage,
                     "The name of a book is empty. Give EANs as \"quire books\" lists them.");
}

void ShowStatus(Session& session, const std::vector<std::string>& names, bool as_json) {
  RequireNames(names);
  store::StoreManager& manager = session.Store();
  const SavedBooks saved_books;
  Json json = Json::array();
  Table table({{"EAN"}, {"Status"}, {"Title", 16}});
  std::string missing;
  for (const std::string& typed : names) {
    std::string ean = NormalizeEan(typed);
    const store::Book* known = FindByEan(manager.GetCart().orderItems, ean);
    store::BookStatus status = manager.GetBookStatus(ean);
    if (known == nullptr) {
      known = FindNamed(session.PurchasedBooks(), typed);
      if (known != nullptr) {
        ean = GetString(*known, store::Book::kEan);
        status = saved_books.GetStatus(manager, *known);
      } else if (!IsEan(ean)) {
        missing += (missing.empty() ? "\"" : ", \"") + typed + "\"";
        continue;
      }
    }
    const std::string title = known ? GetString(*known, store::Book::kTitle) : std::string();
    json.push_back(WithStatus({{"ean", ean}, {"title", StringOrNull(title)}}, status));
    table.AddRow({ean, StatusCell(status), title});
  }
  if (as_json) {
    PrintJson(json);
  } else if (!json.empty()) {
    table.Print();
    for (const Json& each : json) {
      if (each["path"].is_string()) Screen::Out().PrintPath(each["path"].get<std::string>());
    }
  }
  if (missing.empty()) return;
  throw CommandError(kNotFound, "There is no book " + missing +
                                    " in your list or in the cart, and it is no EAN. See what you "
                                    "have with \"quire books\".");
}

/// The bought books that the user named, in their order; `missing` receives the other names.
std::vector<store::Book> SelectBooks(const std::vector<store::Book>& bought,
                                     const std::vector<std::string>& names, std::string& missing) {
  std::vector<store::Book> books;
  for (const std::string& typed : names) {
    if (const store::Book* found = FindNamed(bought, typed)) {
      books.push_back(*found);
    } else {
      missing += (missing.empty() ? "" : ", ") + typed;
    }
  }
  return books;
}

/// Downloads a book that is not on the device yet.
/// \return "ean", "title", "status" ("downloaded", "present" or "failed"), "path" and "reason".
Json DownloadOne(Session& session, const store::Book& book, const DownloadCount& count,
                 bool as_json) {
  std::string path = SavedBooks().Find(book);
  const bool is_present = !path.empty();
  DownloadResult result;
  if (!is_present) result = DownloadBook(session, book, count);
  RemovePending(session, book);
  if (is_present) result.path = path;
  const bool has_failed = result.path.empty();
  if (has_failed || (!is_present && !as_json)) {
    ReportDownload(book, result);
  } else if (!as_json) {
    Screen::Out().PrintLine(QuoteTitle(DisplayTitle(book)) + " is on the device already:");
    Screen::Out().PrintPath(path);
  }
  return {{"ean", GetString(book, store::Book::kEan)},
          {"title", DisplayTitle(book)},
          {"status", has_failed   ? "failed"
                     : is_present ? "present"
                                  : "downloaded"},
          {"path", StringOrNull(result.path)},
          {"reason", has_failed ? Json(DescribeFailure(result.failure)) : Json()}};
}

void DownloadBooks(Session& session, std::vector<std::string> names, bool all, bool as_json) {
  RequireNames(names);
  if (names.empty() && !all) names = ListPending(session);
  if (names.empty() && !all) {
    throw CommandError(kUsage,
                       "No book was named. Give EANs as \"quire books\" lists them, or --all.");
  }
  const std::vector<store::Book> bought = session.PurchasedBooks();
  std::string missing;
  const auto books = all ? bought : SelectBooks(bought, names, missing);
  AddPending(session, books);
  Json json = Json::array();
  bool failed = false;
  for (std::size_t i = 0; i < books.size(); ++i) {
    json.push_back(DownloadOne(session, books[i], {i + 1, books.size()}, as_json));
    failed = failed || json.back()["status"] == "failed";
  }
  if (as_json) PrintJson(json);
  if (all && books.empty() && !as_json) Screen::Out().PrintLine(kNothingBought);
  if (!missing.empty()) {
    throw CommandError(
        kNotFound, "You have not bought " + missing + ". See what you have with \"quire books\".");
  }
  if (failed) throw CommandError(kFailed, "");
}

}  // namespace

void AddBookCommands(CLI::App& cli, Session& session) {
  const auto names = std::make_shared<std::vector<std::string>>();
  const auto all = std::make_shared<bool>(false);

  AddListing(cli, "books", "List the books you have bought",
             [&session](bool as_json) { ShowBooks(session, as_json); });

  AddListing(cli, "status", "Show where books stand",
             [&session, names](bool as_json) { ShowStatus(session, *names, as_json); })
      ->add_option("EAN|N", *names, "EANs of the books, or their positions in \"books\"")
      ->required();

  CLI::App* download = AddListing(
      cli, "download", "Get bought books onto the device; without a name, those that are left",
      [&session, names, all](bool as_json) { DownloadBooks(session, *names, *all, as_json); });
  CLI::Option* named =
      download->add_option("EAN|N", *names, "EANs of the books, or their positions in \"books\"");
  download->add_flag("--all", *all, "All that you have bought")->excludes(named);
}

}  // namespace app
