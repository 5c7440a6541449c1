#include <memory>

#include "book_view.h"
#include "commands.h"
#include "json_output.h"
#include "saved_books.h"
#include "screen.h"
#include "table.h"

namespace app {
namespace {

Json WithStatus(Json json, const store::BookStatus& status) {
  json["status"] = StatusKey(status);
  json["path"] = status.path.empty() ? Json() : Json(status.path);
  json["progress_percent"] = status.progress;
  return json;
}

void ShowBooks(Session& session, bool as_json) {
  const std::vector<store::Book> books = session.PurchasedBooks();
  store::StoreManager& manager = session.Store();
  const SavedBooks saved_books;
  Json json = Json::array();
  Table table({{"Title", 16}, {"Author", 10}, {"Format"}, {"Status"}, {"EAN"}});
  for (const store::Book& book : books) {
    const std::string ean = GetString(book, store::Book::kEan);
    const store::BookStatus status = saved_books.GetStatus(manager, book);
    json.push_back(WithStatus(BookToJson(book), status));
    table.AddRow({DisplayTitle(book), GetString(book, store::Book::kAuthor),
                  GetString(book, store::Book::kEbookFormat), StatusCell(status), ean});
  }
  if (as_json) return PrintJson(json);
  if (!books.empty()) return table.Print(Screen::Out());
  Screen::Out().PrintLine(kNothingBought);
}

void ShowStatus(Session& session, const std::vector<std::string>& eans, bool as_json) {
  store::StoreManager& manager = session.Store();
  if (manager.IsLoggedIn()) session.PurchasedBooks();
  const SavedBooks saved_books;
  Json json = Json::array();
  Table table({{"EAN"}, {"Status"}, {"Title", 16}});
  for (const std::string& ean : eans) {
    const store::Book* bought = FindByEan(manager.GetPurchased(), ean);
    const store::Book* in_cart = FindByEan(manager.GetCart().orderItems, ean);
    const auto status =
        bought ? saved_books.GetStatus(manager, *bought) : manager.GetBookStatusById(ean);
    const store::Book* known = in_cart ? in_cart : bought;
    const std::string title = known ? GetString(*known, store::Book::kTitle) : std::string();
    json.push_back(
        WithStatus({{"ean", ean}, {"title", title.empty() ? Json() : Json(title)}}, status));
    table.AddRow({ean, StatusCell(status), title});
  }
  if (as_json) return PrintJson(json);
  table.Print(Screen::Out());
  for (const Json& each : json) {
    if (each["path"].is_string()) Screen::Out().PrintPath(each["path"].get<std::string>());
  }
}

}  // namespace

void AddBookCommands(CLI::App& cli, Session& session) {
  const auto as_json = std::make_shared<bool>(false);
  const auto eans = std::make_shared<std::vector<std::string>>();

  CLI::App* books = cli.add_subcommand("books", "List the books you have bought");
  books->add_flag("--json", *as_json, "As JSON");
  books->callback([&session, as_json] { ShowBooks(session, *as_json); });

  CLI::App* status = cli.add_subcommand("status", "Show where books stand");
  status->add_option("EAN", *eans, "EANs of the books")->required();
  status->add_flag("--json", *as_json, "As JSON");
  status->callback([&session, eans, as_json] { ShowStatus(session, *eans, *as_json); });
}

}  // namespace app
