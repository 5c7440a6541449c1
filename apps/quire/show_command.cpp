#include <unistd.h>

#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>

#include "book_view.h"
#include "catalogue.h"
#include "commands.h"
#include "cover.h"
#include "money.h"
#include "program.h"
#include "saved_books.h"
#include "screen.h"
#include "table.h"
#include "text.h"

namespace app {
namespace {

constexpr std::size_t kMaxChoices = 8;
constexpr int kMaxCover_columns = 40;
constexpr int kCover_rows = 20;

/// What the catalogue and the shop's list of bought books say about a title.
struct Title {
  std::optional<CatalogueEntry> entry;
  std::optional<store::Book> bought;

  std::string Get(std::string CatalogueEntry::*field, store::Book::StringProps property) const {
    std::string text = entry ? (*entry).*field : std::string();
    if (text.empty() && bought) text = GetString(*bought, property);
    return text;
  }
  std::string Ean() const { return Get(&CatalogueEntry::ean, store::Book::kEan); }
  std::string Text() const { return Get(&CatalogueEntry::title, store::Book::kTitle); }
  std::string CoverUrl() const {
    const std::string image = Get(&CatalogueEntry::image_url, store::Book::kImageUrl);
    return image.empty() ? Get(&CatalogueEntry::thumbnail_url, store::Book::kThumbnail) : image;
  }
  std::vector<std::string> Formats() const {
    if (entry && !entry->formats.empty()) return entry->formats;
    const std::string format = bought ? GetString(*bought, store::Book::kEbookFormat) : "";
    return format.empty() ? std::vector<std::string>() : std::vector<std::string>{format};
  }
  std::string Price() const {
    if (entry && entry->price_hundredths) {
      return FormatPrice(*entry->price_hundredths, entry->currency);
    }
    const auto price = bought ? bought->int_props.find(store::Book::kPrice)
                              : std::map<store::Book::IntProps, std::int64_t>::const_iterator();
    if (!bought || price == bought->int_props.end() || price->second == 0) return {};
    return FormatPrice(price->second, GetString(*bought, store::Book::kCurrency));
  }
};

/// What the user typed for a title: an EAN, perhaps with hyphens, or words.
class TitleName {
 public:
  explicit TitleName(const std::string& text) : ean_(text) {
    std::erase(ean_, '-');
    const bool is_number = ean_.find_first_not_of("0123456789") == std::string::npos;
    if (!is_number || ean_.size() < 8) ean_.clear();
    const std::string folded = FoldCase(text);
    boost::split(words_, folded, [](char c) { return c == ' '; });
  }

  bool IsEan() const { return !ean_.empty(); }

  bool IsOf(const CatalogueEntry& entry) const {
    if (IsEan()) return entry.ean == ean_;
    return std::all_of(words_.begin(), words_.end(), [&](const std::string& word) {
      return Contains(entry.title + " " + entry.author, word);
    });
  }
  bool IsOf(const store::Book& book) const {
    CatalogueEntry entry;
    entry.ean = GetString(book, store::Book::kEan);
    entry.title = GetString(book, store::Book::kTitle);
    entry.author = GetString(book, store::Book::kAuthor);
    return IsOf(entry);
  }

 private:
  static bool Contains(const std::string& text, const std::string& folded_word) {
    return FoldCase(text).find(folded_word) != std::string::npos;
  }

  std::string ean_;
  std::vector<std::string> words_;
};

/// The titles of that name, by EAN, from the catalogue and the bought books.
std::map<std::string, Title> FindTitles(Session& session, const TitleName& name,
                                        const std::vector<store::Book>& bought) {
  std::map<std::string, Title> titles;
  for (const store::Book& book : bought) {
    if (name.IsOf(book)) titles[GetString(book, store::Book::kEan)].bought = book;
  }
  const Spinner spinner("Searching the catalogue …");
  try {
    const Catalogue catalogue(session.Config()[store::SwitchboardConfig::kOpdsStartPage]);
    catalogue.Read([&](const CatalogueEntry& entry) {
      const bool is_found = name.IsOf(entry);
      if (is_found) titles[entry.ean].entry = entry;
      return !(is_found && name.IsEan());
    });
  } catch (const CatalogueError& error) {
    if (titles.empty()) throw;
    PrintError(error.what());
  }
  for (const store::Book& book : bought) {
    const auto found = titles.find(GetString(book, store::Book::kEan));
    if (found != titles.end()) found->second.bought = book;
  }
  return titles;
}

Title ChooseTitle(Session& session, const std::string& name,
                  const std::vector<store::Book>& bought) {
  const std::string shown = QuoteTitle(name);
  auto titles = FindTitles(session, TitleName(name), bought);
  if (titles.size() == 1) return std::move(titles.begin()->second);
  if (titles.empty()) {
    throw CommandError(kNotFound, "Neither the catalogue nor your books have " + shown +
                                      ". See what there is with \"quire catalogue\".");
  }
  std::string choices;
  std::size_t count = 0;
  for (const auto& [ean, title] : titles) {
    if (++count > kMaxChoices) break;
    choices += (count == 1 ? "" : ", ") + ean + " " + QuoteTitle(title.Text());
  }
  if (count > kMaxChoices) choices += " and others";
  throw CommandError(kNotFound, std::to_string(titles.size()) + " titles match " + shown + ": " +
                                    choices + ". Name one by its EAN.");
}

/// The state of a title; nothing when the list of bought books is unknown and decides it.
std::optional<store::BookStatus> FindStatus(Session& session, const Title& title,
                                            bool is_list_known) {
  if (title.bought) return SavedBooks().GetStatus(session.Store(), *title.bought);
  const store::BookStatus status = session.Store().GetBookStatusById(title.Ean());
  const bool is_decided = is_list_known || status.status != store::BookStatus::kNotPurchased;
  return is_decided ? std::optional(status) : std::nullopt;
}

std::optional<std::int64_t> FileSize(const std::string& path) {
  std::error_code error;
  const auto size_bytes = std::filesystem::file_size(path, error);
  return error ? std::nullopt : std::optional(static_cast<std::int64_t>(size_bytes));
}

Json TitleToJson(const Title& title, const std::optional<store::BookStatus>& status) {
  const CatalogueEntry entry = title.entry.value_or(CatalogueEntry());
  const std::string path = status ? status->path : "";
  const auto size_bytes = FileSize(path);
  Json json = {
      {"ean", StringOrNull(title.Ean())},
      {"title", StringOrNull(title.Text())},
      {"author", StringOrNull(title.Get(&CatalogueEntry::author, store::Book::kAuthor))},
      {"summary", StringOrNull(entry.summary)},
      {"language", StringOrNull(entry.language)},
      {"subject", StringOrNull(entry.subject)},
      {"published", StringOrNull(entry.published)},
      {"formats", title.Formats()},
      {"needs_adobe", title.entry ? Json(entry.needs_adobe) : Json()},
      {"price_hundredths", Json()},
      {"currency", StringOrNull(title.Get(&CatalogueEntry::currency, store::Book::kCurrency))},
      {"page_url",
       StringOrNull(title.Get(&CatalogueEntry::page_url, store::Book::kProductPageUrl))},
      {"cover_url", StringOrNull(title.CoverUrl())},
      {"status", status ? Json(StatusKey(*status)) : Json()},
      {"path", StringOrNull(path)},
      {"size_bytes", size_bytes ? Json(*size_bytes) : Json()}};
  if (entry.price_hundredths) json["price_hundredths"] = *entry.price_hundredths;
  return json;
}

void PrintTitle(const Title& title, const std::optional<store::BookStatus>& status) {
  const CatalogueEntry entry = title.entry.value_or(CatalogueEntry());
  const std::string path = status ? status->path : "";
  const auto size_bytes = FileSize(path);
  const std::string adobe = entry.needs_adobe ? " (some need Adobe Digital Editions)" : "";
  const Screen& out = Screen::Out();
  out.Write(RenderDetails(
      out.Width(),
      {{"Title", {title.Text(), Style::kBold}},
       {"Author", title.Get(&CatalogueEntry::author, store::Book::kAuthor)},
       {"EAN", title.Ean()},
       {"State", status ? StatusCell(*status) : Cell("unknown: your books are not known now")},
       {"Price", title.Price()},
       {"Formats", boost::algorithm::join(title.Formats(), ", ") + adobe},
       {"Language", entry.language},
       {"Subject", entry.subject},
       {"Published", entry.published},
       {"Size", size_bytes ? FormatSize(*size_bytes) : std::string()},
       {"Page", title.Get(&CatalogueEntry::page_url, store::Book::kProductPageUrl)},
       {"Cover", title.CoverUrl()},
       {"Summary", entry.summary}}));
  if (!path.empty()) out.PrintPath(path);
}

/// Draws the cover with chafa, which picks what the terminal can show: pixels or characters.
void DrawCover(const Title& title) {
  const std::string url = title.CoverUrl();
  if (url.empty()) throw CommandError(kNotFound, "The shop has no cover of this title.");
  const char* const terminal = std::getenv("TERM");
  if (isatty(STDOUT_FILENO) == 0 || terminal == nullptr || std::string(terminal) == "dumb") {
    throw CommandError(kFailed,
                       "The cover is not drawn: the output is not a terminal that shows pictures. "
                       "Its address is above.");
  }
  store::Failure failure;
  ProgramOptions options;
  {
    const Spinner spinner("Fetching the cover …");
    options.input = FetchCover(url, &failure);
  }
  if (failure) throw ToCommandError("The cover cannot be fetched", failure);
  std::string picture;
  options.output = &picture;
  options.is_limited = true;
  const int columns = std::min(Screen::Out().Width(), kMaxCover_columns);
  std::vector<std::string> command{"chafa",
                                   "--animate",
                                   "off",
                                   "--threads",
                                   "1",
                                   "--size",
                                   std::to_string(columns) + "x" + std::to_string(kCover_rows)};
  if (!Screen::Out().IsInteractive()) command.insert(command.end(), {"--colors", "none"});
  command.emplace_back("/dev/stdin");
  const int exit_code = RunProgram(command, options);
  if (exit_code == kProgramNotFound) {
    throw CommandError(kDevice,
                       "The cover is not drawn: the program \"chafa\" is not installed. Its "
                       "address is above.");
  }
  if (exit_code != 0 || picture.empty()) {
    throw CommandError(kFailed, "The cover is not drawn: it is no picture that chafa can read.");
  }
  Screen::Out().Write(picture);
}

void ShowTitle(Session& session, const std::string& name, bool with_cover, bool as_json) {
  if (name.find_first_not_of(' ') == std::string::npos) {
    throw CommandError(kUsage, "No title was named. Give an EAN or words of a title.");
  }
  std::vector<store::Book> bought;
  bool is_list_known = false;
  if (session.Store().IsLoggedIn()) {
    try {
      bought = session.PurchasedBooks();
      is_list_known = true;
    } catch (const CommandError& error) {
      PrintError(error.what());
    }
  }
  const Title title = ChooseTitle(session, name, bought);
  const auto status = FindStatus(session, title, is_list_known);
  if (as_json) return PrintJson(TitleToJson(title, status));
  PrintTitle(title, status);
  if (with_cover) DrawCover(title);
}

}  // namespace

void AddShowCommand(CLI::App& cli, Session& session) {
  const auto words = std::make_shared<std::vector<std::string>>();
  const auto cover = std::make_shared<bool>(false);
  CLI::App* command = AddListing(
      cli, "show", "Show all that is known of a title", [&session, words, cover](bool as_json) {
        ShowTitle(session, boost::algorithm::join(*words, " "), *cover, as_json);
      });
  command->add_option("TITLE", *words, "Its EAN, or words of its title and author")->required();
  command->add_flag("--cover", *cover, "Draw its cover")->excludes("--json");
}

}  // namespace app
