#include <algorithm>
#include <memory>
#include <optional>

#include "book_view.h"
#include "commands.h"
#include "downloads.h"
#include "failure_text.h"
#include "saved_books.h"
#include "table.h"
#include "title_cache.h"
#include "title_choice.h"

namespace app {
namespace {

constexpr char kWhichTitles[] = "EANs, numbers of the last list, or words of one title";

/// Shown for an empty list of bought books, which must be known.
constexpr char kNothingBought[] =
    "You have bought no books yet. See what there is with \"quire catalogue\".";

Json WithStatus(Json json, const store::BookStatus& status) {
  json["status"] = StatusKey(status);
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
  if (!TitleCache().ReplaceList(1, ToNamedTitles(books), true)) PrintListNotStored();
  if (as_json) return PrintJson(json);
  if (!books.empty()) return table.Print();
  Screen::Out().PrintLine(kNothingBought);
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

/// The state of a book that the device alone decides: in the cart, or downloaded by quire.
std::optional<store::BookStatus> FindLocalStatus(const store::Cart& cart,
                                                 const SavedBooks& saved_books,
                                                 const std::string& ean) {
  store::BookStatus status;
  if (cart.IsContain(ean)) {
    status.status = store::BookStatus::kInCart;
    return status;
  }
  store::Book book;
  book.string_props[store::Book::kEan] = ean;
  status.status = store::BookStatus::kDownloaded;
  status.path = saved_books.Find(book);
  return status.path.empty() ? std::nullopt : std::optional(status);
}

/// The EANs that users mean among the titles of the cart and of earlier lists.
std::vector<std::string> ChooseListed(Session& session, const std::vector<std::string>& named) {
  const auto find = [&](const std::string& words) {
    const TitleCache cache;
    std::vector<NamedTitle> titles = ToNamedTitles(session.LocalCart().orderItems);
    std::erase_if(titles, [&](const NamedTitle& each) { return !cache.Find(each.id).empty(); });
    for (const auto& [ean, title] : cache.titles()) titles.push_back({ean, title.text, ""});
    return SelectByWords(std::move(titles), words);
  };
  return ChooseTitles(named, {find, "List titles with \"quire books\" or \"quire catalogue\"."});
}

void ShowStatus(Session& session, const std::vector<std::string>& named, bool as_json) {
  const std::vector<std::string> eans = ChooseListed(session, named);
  store::StoreManager& manager = store::StoreManager::Instance();
  const SavedBooks saved_books;
  const bool needs_shop = std::any_of(eans.begin(), eans.end(), [&](const std::string& ean) {
    return !FindLocalStatus(session.LocalCart(), saved_books, ean);
  });
  if (needs_shop) session.PurchasedBooks();
  const TitleCache titles;
  Json json = Json::array();
  Table table({{"EAN"}, {"Status"}, {"Title", 16}});
  std::string missing;
  for (const std::string& ean : eans) {
    const store::Book* const bought = FindByEan(manager.GetPurchased(), ean);
    const store::Book* const in_cart = FindByEan(session.LocalCart().orderItems, ean);
    const store::Book* const known = in_cart ? in_cart : bought;
    const auto local = FindLocalStatus(session.LocalCart(), saved_books, ean);
    const std::string title = known ? GetString(*known, store::Book::kTitle) : titles.Find(ean);
    if (!known && !local && title.empty() && !IsEan(ean)) {
      missing += (missing.empty() ? "" : ", ") + ean;
      continue;
    }
    const auto status = local    ? *local
                        : bought ? saved_books.GetStatus(manager, *bought)
                                 : manager.GetBookStatus(ean);
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
                                    " in a list or in the cart, and it is no EAN. See what you "
                                    "have with \"quire books\".");
}

/// The bought books with these EANs, in their order; `missing` receives the EANs of the others.
std::vector<store::Book> SelectBooks(const std::vector<store::Book>& bought,
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

/// The EANs that users mean among the bought books.
std::vector<std::string> ChooseBought(Session& session, const std::vector<std::string>& named) {
  const auto find = [&](const std::string& words) {
    return SelectByWords(ToNamedTitles(session.PurchasedBooks()), words);
  };
  return ChooseTitles(named, {find, "See what you have with \"quire books\"."});
}

void DownloadBooks(Session& session, const std::vector<std::string>& named, bool all,
                   bool as_json) {
  std::vector<std::string> eans = ChooseBought(session, named);
  if (eans.empty() && !all) eans = ListPending(session);
  if (eans.empty() && !all) {
    throw CommandError(kUsage,
                       "No book was named. Name books that \"quire books\" lists, or give --all.");
  }
  const std::vector<store::Book> bought = session.PurchasedBooks();
  std::string missing;
  const auto books = all ? bought : SelectBooks(bought, eans, missing);
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
  const auto named = std::make_shared<std::vector<std::string>>();
  const auto all = std::make_shared<bool>(false);

  AddListing(cli, "books", "List the books you have bought",
             [&session](bool as_json) { ShowBooks(session, as_json); });

  AddListing(cli, "status", "Show where books stand",
             [&session, named](bool as_json) { ShowStatus(session, *named, as_json); })
      ->add_option("TITLE", *named, kWhichTitles)
      ->required();

  CLI::App* download = AddListing(
      cli, "download", "Get bought books onto the device; without a name, those that are left",
      [&session, named, all](bool as_json) { DownloadBooks(session, *named, *all, as_json); });
  CLI::Option* titles = download->add_option("TITLE", *named, kWhichTitles);
  download->add_flag("--all", *all, "All that you have bought")->excludes(titles);
}

}  // namespace app
