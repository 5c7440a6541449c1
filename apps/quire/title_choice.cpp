#include "title_choice.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "book_view.h"
#include "catalogue.h"
#include "screen.h"
#include "search_text.h"

namespace app {
namespace {

constexpr std::size_t kMaxNamed = 5;         // titles that an error lists
constexpr std::size_t kMaxCandidates = 100;  // titles with the same words that are looked at

bool HasWords(const NamedTitle& title, const std::vector<std::string>& words) {
  CatalogueEntry entry;
  entry.title = title.title;
  entry.author = title.author;
  return Matches(entry, words);
}

/// The EAN that was typed, hyphens and spaces left out; empty when it is something else.
std::string ParseTypedEan(const std::string& typed) {
  const bool is_plain = typed.find_first_not_of("0123456789- ") == std::string::npos;
  return is_plain ? ParseEan(typed) : std::string();
}

/// The number in "#12" or "12"; nothing for anything else.
std::optional<std::size_t> ParseNumber(std::string_view typed) {
  if (typed.starts_with('#')) typed.remove_prefix(1);
  std::size_t number = 0;
  const char* const end = typed.data() + typed.size();
  const auto read = std::from_chars(typed.data(), end, number);
  return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

/// The titles that the words mean: one whose title they are, else one that has them in its title
/// and author, else all.
std::vector<NamedTitle> Narrow(std::vector<NamedTitle> found, const std::string& named) {
  std::erase_if(found, [](const NamedTitle& title) { return title.id.empty(); });
  const std::string folded = FoldForSearch(named);
  const std::vector<std::string> words = FoldWords(named);
  const auto keep_if_one = [&](const auto& is_meant) {
    const auto count = std::count_if(found.begin(), found.end(), is_meant);
    if (count == 1) std::erase_if(found, [&](const NamedTitle& each) { return !is_meant(each); });
  };
  keep_if_one([&](const NamedTitle& each) { return FoldForSearch(each.title) == folded; });
  keep_if_one([&](const NamedTitle& each) { return HasWords(each, words); });
  return found;
}

CommandError Ambiguous(const std::string& named, const std::vector<NamedTitle>& found) {
  std::string text = "More than one title has \"" + named + "\": ";
  for (std::size_t i = 0; i < std::min(found.size(), kMaxNamed); ++i) {
    text += (i > 0 ? ", " : "") + QuoteTitle(found[i].title) + " (" + found[i].id + ")";
  }
  if (found.size() > kMaxNamed) text += " and others";
  return {kNotFound, text + ". Name one as in brackets, or with more words."};
}

}  // namespace

std::string ChooseTitle(const std::string& named, const TitleSource& source) {
  if (std::string ean = ParseTypedEan(named); !ean.empty()) return ean;
  if (const auto number = ParseNumber(named)) {
    std::string id = source.find_number(*number);
    if (!id.empty()) return id;
    if (named.starts_with('#')) {
      throw CommandError(kNotFound, "The list has no title " + named + ". " + source.advice);
    }
  }
  if (FoldWords(named).empty()) {
    throw CommandError(kUsage, "The name of a book is empty. " + source.advice);
  }
  const std::vector<NamedTitle> found = Narrow(source.find_words(named), named);
  if (found.empty()) {
    throw CommandError(kNotFound, "No title has \"" + named + "\". " + source.advice);
  }
  if (found.size() > 1) throw Ambiguous(named, found);
  return found.front().id;
}

std::vector<std::string> ChooseTitles(const std::vector<std::string>& named,
                                      const TitleSource& source) {
  std::vector<std::string> ids;
  for (const std::string& each : named) ids.push_back(ChooseTitle(each, source));
  return ids;
}

void PrintListNotStored() {
  PrintError("The list could not be stored, so that titles cannot be named by its numbers.");
}

std::vector<CatalogueEntry> SearchCatalogue(Session& session, const std::string& words) {
  const std::string start = session.Config()[store::SwitchboardConfig::kOpdsStartPage];
  const Spinner spinner("Searching the catalogue …");
  CatalogueQuery query;
  query.words = words;
  query.max_count = kMaxCandidates;
  CatalogueListing listing = Catalogue(start).List(query);
  if (listing.error) throw CatalogueError(*listing.error);
  return std::move(listing.entries);
}

std::vector<std::string> ChooseFromCatalogue(Session& session,
                                             const std::vector<std::string>& named) {
  const auto find = [&](const std::string& words) {
    return ToNamedTitles(SearchCatalogue(session, words));
  };
  return ChooseTitles(named, {find, "See what there is with \"quire catalogue\"."});
}

std::vector<NamedTitle> ToNamedTitles(const std::vector<CatalogueEntry>& entries) {
  std::vector<NamedTitle> titles;
  for (const CatalogueEntry& entry : entries) {
    titles.push_back({entry.ean, entry.title, entry.author});
  }
  return titles;
}

std::vector<NamedTitle> ToNamedTitles(const std::vector<store::Book>& books) {
  std::vector<NamedTitle> titles;
  for (const store::Book& book : books) {
    titles.push_back({GetString(book, store::Book::kEan), DisplayTitle(book),
                      GetString(book, store::Book::kAuthor)});
  }
  return titles;
}

std::vector<NamedTitle> SelectByWords(std::vector<NamedTitle> titles, const std::string& words) {
  const std::vector<std::string> folded = FoldWords(words);
  std::erase_if(titles, [&](const NamedTitle& title) { return !HasWords(title, folded); });
  return titles;
}

}  // namespace app
