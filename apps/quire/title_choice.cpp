#include "title_choice.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "book_view.h"
#include "catalogue.h"
#include "json_output.h"
#include "screen.h"
#include "search_text.h"
#include "state_file.h"

namespace app {
namespace {

constexpr std::size_t kMaxNamed = 5;         // titles that an error lists
constexpr std::size_t kMaxCandidates = 100;  // titles with the same words that are looked at

bool HasWords(const NamedTitle& title, const std::vector<std::string>& words) {
  CatalogueEntry entry;
  entry.title = title.title;
  entry.author = title.author;
  entry.ean = title.ean;
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
  std::erase_if(found, [](const NamedTitle& title) { return title.ean.empty(); });
  const std::string folded = FoldForSearch(named);
  const std::vector<std::string> words = FoldWords(named);
  const auto keep_if_one = [&](const auto& is_meant) {
    const auto count = std::count_if(found.begin(), found.end(), is_meant);
    if (count == 1) std::erase_if(found, [&](const NamedTitle& each) { return !is_meant(each); });
  };
  keep_if_one([&](const NamedTitle& each) { return FoldForSearch(each.title) == folded; });
  keep_if_one([&](const NamedTitle& each) {
    return HasWords({"", each.title, each.author}, words);
  });
  return found;
}

CommandError Ambiguous(const std::string& named, const std::vector<NamedTitle>& found) {
  std::string text = "More than one title has \"" + named + "\": ";
  for (std::size_t i = 0; i < std::min(found.size(), kMaxNamed); ++i) {
    text += (i > 0 ? ", " : "") + QuoteTitle(found[i].title) + " (" + found[i].ean + ")";
  }
  if (found.size() > kMaxNamed) text += " and others";
  return {kNotFound, text + ". Name one by its EAN, or with more words."};
}

}  // namespace

bool LastList::Replace(std::size_t first_number, const std::vector<NamedTitle>& titles) const {
  Json eans = Json::array();
  for (const NamedTitle& title : titles) eans.push_back(title.ean);
  return ReplaceStateFile(file_, SerializeJson({{"first", first_number}, {"eans", eans}}));
}

std::string LastList::FindEan(std::size_t number) const {
  const Json list = Json::parse(ReadStateFile(file_).value_or(""), nullptr, false);
  if (!list.is_object() || !list.contains("first") || !list["first"].is_number_unsigned() ||
      !list.contains("eans") || !list["eans"].is_array()) {
    return {};
  }
  const auto first = list["first"].get<std::size_t>();
  if (number < first || number - first >= list["eans"].size()) return {};
  const Json& ean = list["eans"][number - first];
  return ean.is_string() ? ean.get<std::string>() : std::string();
}

std::string ChooseTitle(
    const std::string& named, const LastList& list,
    const std::function<std::vector<NamedTitle>(const std::string& words)>& find,
    const std::string& advice) {
  if (std::string ean = ParseTypedEan(named); !ean.empty()) return ean;
  if (const auto number = ParseNumber(named)) {
    std::string ean = list.FindEan(*number);
    if (!ean.empty()) return ean;
    if (named.starts_with('#')) {
      throw CommandError(kNotFound, "The last list has no title " + named + ". " + advice);
    }
  }
  if (FoldWords(named).empty()) throw CommandError(kUsage, "No title was named. " + advice);
  const std::vector<NamedTitle> found = Narrow(find(named), named);
  if (found.empty()) throw CommandError(kNotFound, "No title has \"" + named + "\". " + advice);
  if (found.size() > 1) throw Ambiguous(named, found);
  return found.front().ean;
}

std::vector<std::string> ChooseFromCatalogue(Session& session,
                                             const std::vector<std::string>& named) {
  const auto find = [&](const std::string& words) {
    const Spinner spinner("Searching the catalogue …");
    CatalogueQuery query;
    query.words = words;
    query.max_count = kMaxCandidates;
    std::vector<NamedTitle> found;
    const Catalogue catalogue(session.Config()[store::SwitchboardConfig::kOpdsStartPage]);
    const CatalogueListing listing = catalogue.List(query);
    if (listing.error) throw CatalogueError(*listing.error);
    for (const CatalogueEntry& entry : listing.entries) {
      found.push_back({entry.ean, entry.title, entry.author});
    }
    return found;
  };
  std::vector<std::string> eans;
  for (const std::string& each : named) {
    eans.push_back(
        ChooseTitle(each, LastList(), find, "See what there is with \"quire catalogue\"."));
  }
  return eans;
}

std::vector<NamedTitle> FindByWords(const std::vector<store::Book>& books,
                                    const std::string& words) {
  const std::vector<std::string> folded = FoldWords(words);
  std::vector<NamedTitle> found;
  for (const store::Book& book : books) {
    NamedTitle title{GetString(book, store::Book::kEan), GetString(book, store::Book::kTitle),
                     GetString(book, store::Book::kAuthor)};
    if (HasWords(title, folded)) found.push_back(std::move(title));
  }
  return found;
}

}  // namespace app
