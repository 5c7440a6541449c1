#include <boost/algorithm/string/join.hpp>
#include <memory>

#include "catalogue.h"
#include "commands.h"
#include "json_output.h"
#include "money.h"
#include "screen.h"
#include "table.h"
#include "text.h"
#include "title_cache.h"

namespace app {
namespace {

std::string FormatsCell(const CatalogueEntry& entry) {
  const std::string formats = boost::algorithm::join(entry.formats, ",");
  if (!entry.needs_adobe) return formats;
  return (formats.empty() ? "Adobe" : formats) + " *";
}

void PrintEntries(const std::vector<CatalogueEntry>& entries) {
  Table table({{"Title", 16}, {"Author", 10}, {"Price", 0, true}, {"EAN"}, {"Format"}});
  bool needs_adobe = false;
  for (const CatalogueEntry& entry : entries) {
    needs_adobe = needs_adobe || entry.needs_adobe;
    table.AddRow({entry.title.empty() ? "(untitled)" : entry.title, entry.author,
                  entry.price_hundredths ? FormatPrice(*entry.price_hundredths, entry.currency)
                                         : std::string("-"),
                  entry.ean, FormatsCell(entry)});
  }
  table.Print();
  if (needs_adobe)
    Screen::Out().PrintLine("* some formats need Adobe Digital Editions", Style::kDim);
}

Json EntryToJson(const CatalogueEntry& entry) {
  Json json = {
      {"ean", StringOrNull(entry.ean)},           {"title", StringOrNull(entry.title)},
      {"author", StringOrNull(entry.author)},     {"formats", entry.formats},
      {"needs_adobe", entry.needs_adobe},         {"price_hundredths", Json()},
      {"currency", StringOrNull(entry.currency)}, {"language", StringOrNull(entry.language)},
      {"subject", StringOrNull(entry.subject)},   {"published", StringOrNull(entry.published)},
      {"summary", StringOrNull(entry.summary)},   {"page_url", StringOrNull(entry.page_url)}};
  if (entry.price_hundredths) json["price_hundredths"] = *entry.price_hundredths;
  return json;
}

void ShowCatalogue(Session& session, const std::string& word, bool as_json) {
  const Catalogue catalogue(session.Config()[store::SwitchboardConfig::kOpdsStartPage]);
  const std::string folded = FoldCase(word);
  std::vector<CatalogueEntry> entries;
  std::optional<CatalogueError> error;
  std::size_t skipped_count = 0;
  {
    const Spinner spinner("Reading the catalogue …");
    const auto keep = [&](const CatalogueEntry& entry) {
      if (Matches(entry, folded)) entries.push_back(entry);
      return true;
    };
    try {
      catalogue.Read(keep, &skipped_count);
    } catch (const CatalogueError& incomplete) {
      if (entries.empty()) throw;
      error = incomplete;
    }
  }
  std::vector<std::pair<std::string, std::string>> titles;
  for (const CatalogueEntry& entry : entries) titles.emplace_back(entry.ean, entry.title);
  TitleCache().Add(titles, false);
  if (as_json) {
    Json json = Json::array();
    for (const CatalogueEntry& entry : entries) json.push_back(EntryToJson(entry));
    PrintJson(json);
  } else if (!entries.empty()) {
    PrintEntries(entries);
  }
  if (skipped_count > 0) {
    Screen::Err().PrintLine(
        (skipped_count == 1 ? "1 title is" : std::to_string(skipped_count) + " titles are") +
        " left out because quire cannot read their links.");
  }
  if (error) throw CatalogueError(*error);
  if (entries.empty()) {
    throw CommandError(kNotFound, word.empty() ? "The catalogue is empty. Try again later."
                                               : "Nothing in the catalogue contains \"" + word +
                                                     "\". Try a shorter word.");
  }
}

}  // namespace

void AddCatalogueCommands(CLI::App& cli, Session& session) {
  const auto word = std::make_shared<std::string>();
  AddListing(cli, "catalogue", "List what the shop sells", [&session, word](bool as_json) {
    ShowCatalogue(session, *word, as_json);
  })->add_option("WORD", *word, "Only titles whose entry contains it");
}

}  // namespace app
