#include <memory>

#include "catalogue.h"
#include "command_error.h"
#include "commands.h"
#include "json_output.h"
#include "money.h"
#include "screen.h"
#include "table.h"
#include "text.h"

namespace app {
namespace {

std::string FormatsCell(const CatalogueEntry& entry) {
  if (!entry.needs_adobe) return entry.formats;
  return (entry.formats.empty() ? "Adobe" : entry.formats) + " *";
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
  table.Print(Screen::Out());
  if (needs_adobe)
    Screen::Out().PrintLine("* some formats need Adobe Digital Editions", Style::kDim);
}

void ShowCatalogue(Session& session, const std::string& word, bool as_json) {
  const Catalogue catalogue(session.Config()[store::SwitchboardConfig::kOpdsStartPage], FetchPage);
  const std::string folded = FoldCase(word);
  std::vector<CatalogueEntry> entries;
  std::optional<CommandError> error;
  std::size_t skipped_count = 0;
  {
    const Spinner spinner("Reading the catalogue …");
    const auto keep = [&](const CatalogueEntry& entry) {
      if (Matches(entry, folded)) entries.push_back(entry);
      return true;
    };
    error = catalogue.Read(keep, &skipped_count);
  }
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
  if (error) throw CommandError(*error);
  if (entries.empty()) {
    throw CommandError(kNotFound, word.empty() ? "The catalogue is empty. Try again later."
                                               : "Nothing in the catalogue contains \"" + word +
                                                     "\". Try a shorter word.");
  }
}

}  // namespace

void AddCatalogueCommands(CLI::App& cli, Session& session) {
  const auto as_json = std::make_shared<bool>(false);
  const auto word = std::make_shared<std::string>();
  CLI::App* command = cli.add_subcommand("catalogue", "List what the shop sells");
  command->add_option("WORD", *word, "Only titles whose entry contains it");
  command->add_flag("--json", *as_json, "As JSON");
  command->callback([&session, word, as_json] { ShowCatalogue(session, *word, *as_json); });
}

}  // namespace app
