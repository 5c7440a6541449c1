#include <unistd.h>

#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>

#include "book_view.h"
#include "catalogue.h"
#include "commands.h"
#include "cover.h"
#include "money.h"
#include "program.h"
#include "saved_books.h"
#include "screen.h"
#include "table.h"
#include "title_choice.h"

namespace app {
namespace {

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

/// Finds the title that a user names in the catalogue and among the bought books.
Title FindTitle(Session& session, const std::string& name, const std::vector<store::Book>& bought) {
  const std::string advice = "See what there is with \"quire catalogue\".";
  std::vector<CatalogueEntry> entries;
  std::optional<CatalogueError> error;
  const auto find_words = [&](const std::string& words) {
    std::vector<NamedTitle> found = SelectByWords(ToNamedTitles(bought), words);
    try {
      entries = SearchCatalogue(session, words);
    } catch (const CatalogueError& failed) {
      if (found.empty()) throw;
      error = failed;
    }
    for (NamedTitle& title : ToNamedTitles(entries)) {
      if (!FindByEan(bought, title.id)) found.push_back(std::move(title));
    }
    return found;
  };
  const std::string ean = ChooseTitle(name, {find_words, advice});
  Title title;
  if (const store::Book* book = FindByEan(bought, ean)) title.bought = *book;
  try {
    if (error) throw CatalogueError(*error);
    const auto has_ean = [&](const CatalogueEntry& entry) { return entry.ean == ean; };
    if (std::none_of(entries.begin(), entries.end(), has_ean)) {
      const std::string start = session.Config()[store::SwitchboardConfig::kOpdsStartPage];
      const Spinner spinner("Searching the catalogue …");
      entries = Catalogue(start).Find({ean});
    }
    const auto entry = std::find_if(entries.begin(), entries.end(), has_ean);
    if (entry != entries.end()) title.entry = *entry;
  } catch (const CatalogueError& failed) {
    if (!title.bought) throw;
    PrintError(failed.what());
  }
  if (!title.bought && !title.entry) {
    throw CommandError(kNotFound,
                       "Neither the catalogue nor your books have " + ean + ". " + advice);
  }
  return title;
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
      out.WidthLimit(),
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
  const Title title = FindTitle(session, name, bought);
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
  command->add_option("TITLE", *words, "Its EAN, its number in the last list, or words of it")
      ->required();
  command->add_flag("--cover", *cover, "Draw its cover")->excludes("--json");
}

}  // namespace app
