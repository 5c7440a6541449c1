#include <boost/algorithm/string/join.hpp>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "catalogue.h"
#include "commands.h"
#include "json_output.h"
#include "money.h"
#include "screen.h"
#include "table.h"
#include "title_cache.h"
#include "title_choice.h"

namespace app {
namespace {

constexpr std::size_t kTitlesPerPage = 20;

std::string FormatsCell(const CatalogueEntry& entry) {
  std::string formats = boost::algorithm::join(entry.formats, ",");
  if (!entry.needs_adobe) return formats;
  return (formats.empty() ? "Adobe" : formats) + " *";
}

void PrintEntries(const std::vector<CatalogueEntry>& entries, std::size_t first_number) {
  Table table(
      {{"#", 0, true}, {"Title", 16}, {"Author", 10}, {"Price", 0, true}, {"EAN"}, {"Format"}});
  bool needs_adobe = false;
  for (const CatalogueEntry& entry : entries) {
    needs_adobe = needs_adobe || entry.needs_adobe;
    table.AddRow({std::to_string(first_number++), entry.title.empty() ? "(untitled)" : entry.title,
                  entry.author,
                  entry.price_hundredths ? FormatPrice(*entry.price_hundredths, entry.currency)
                                         : std::string("-"),
                  entry.ean, FormatsCell(entry)});
  }
  table.Print();
  if (needs_adobe)
    Screen::Out().PrintLine("* some formats need Adobe Digital Editions", Style::kDim);
}

void PrintSections(const std::vector<CatalogueSection>& sections) {
  Table table({{"#", 0, true}, {"Section", 16}, {"Contents", 10}});
  for (std::size_t i = 0; i < sections.size(); ++i) {
    const std::string& title = sections[i].title;
    table.AddRow(
        {std::to_string(i + 1), title.empty() ? "(untitled)" : title, sections[i].summary});
  }
  table.Print();
  Screen::Out().PrintLine("Enter a section with --in and its number or name.", Style::kDim);
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

/// What the user asked for.
struct Request {
  CatalogueQuery query;
  std::vector<std::string> words;
  std::size_t page = 1;
  bool all = false;
};

CatalogueListing ReadListing(Session& session, const Request& request) {
  CatalogueQuery query = request.query;
  query.words = boost::algorithm::join(request.words, " ");
  if (!request.all) {
    query.first = (request.page - 1) * kTitlesPerPage;
    query.max_count = kTitlesPerPage;
  }
  const std::string start = session.Config()[store::SwitchboardConfig::kOpdsStartPage];
  const Spinner spinner("Reading the catalogue …");
  const auto show_progress = [&](std::size_t page_count, std::size_t title_count) {
    if (page_count < 3) return;
    spinner.SetDetail("page " + std::to_string(page_count) + ", " + std::to_string(title_count) +
                      " titles");
  };
  try {
    return Catalogue(start, FetchPage, show_progress).List(query);
  } catch (const SectionNotFound& error) {
    throw CommandError(kNotFound, error.what());
  }
}

Json ListingToJson(const CatalogueListing& listing, const Request& request,
                   std::size_t first_number) {
  Json sections = Json::array();
  for (const CatalogueSection& section : listing.sections) {
    sections.push_back({{"number", sections.size() + 1},
                        {"title", StringOrNull(section.title)},
                        {"summary", StringOrNull(section.summary)},
                        {"url", section.url}});
  }
  Json titles = Json::array();
  for (const CatalogueEntry& entry : listing.entries) {
    Json title = {{"number", first_number + titles.size()}};
    title.update(EntryToJson(entry));
    titles.push_back(std::move(title));
  }
  return {{"sections", std::move(sections)},
          {"titles", std::move(titles)},
          {"page", request.page},
          {"next_page", listing.has_more ? Json(request.page + 1) : Json()},
          {"total", listing.total ? Json(*listing.total) : Json()}};
}

void PrintListing(const CatalogueListing& listing, const Request& request,
                  std::size_t first_number) {
  if (!listing.sections.empty() && request.page == 1) PrintSections(listing.sections);
  if (listing.entries.empty()) return;
  PrintEntries(listing.entries, first_number);
  if (first_number == 1 && !listing.has_more) return;
  const std::size_t last_number = first_number + listing.entries.size() - 1;
  std::string text =
      "Titles " + std::to_string(first_number) + " to " + std::to_string(last_number);
  if (listing.total) text += " of " + std::to_string(*listing.total);
  text += ".";
  if (listing.has_more) {
    text +=
        " Add \"--page " + std::to_string(request.page + 1) + "\" for the next, \"--all\" for all.";
  }
  Screen::Out().PrintLine(text, Style::kDim);
}

CommandError NothingFound(const Request& request) {
  if (request.page > 1) {
    return {kNotFound, "The list has no page " + std::to_string(request.page) +
                           ". Leave \"--page\" out to see its first."};
  }
  if (!request.words.empty()) {
    return {kNotFound, "Nothing in the catalogue contains \"" +
                           boost::algorithm::join(request.words, " ") +
                           "\". Try fewer or shorter words."};
  }
  const bool selects = !request.query.format.empty() || !request.query.language.empty();
  return {kNotFound, selects ? "No title has this format and language. Leave one of them out."
                             : "The catalogue is empty. Try again later."};
}

void ShowCatalogue(Session& session, const Request& request, bool as_json) {
  const CatalogueListing listing = ReadListing(session, request);
  const std::size_t first_number = request.all ? 1 : (request.page - 1) * kTitlesPerPage + 1;
  if (as_json) {
    PrintJson(ListingToJson(listing, request, first_number));
  } else {
    PrintListing(listing, request, first_number);
  }
  const std::vector<NamedTitle> shown = ToNamedTitles(listing.entries);
  if (!shown.empty() && !TitleCache().ReplaceList(first_number, shown, false)) {
    PrintListNotStored();
  }
  if (const std::size_t count = listing.skipped_count; count > 0) {
    Screen::Err().PrintLine((count == 1 ? "1 title is" : std::to_string(count) + " titles are") +
                            " left out because quire cannot read their links.");
  }
  if (listing.error) throw CatalogueError(*listing.error);
  const bool has_sections = request.page == 1 && !listing.sections.empty();
  if (listing.entries.empty() && !has_sections) throw NothingFound(request);
}

const std::vector<std::pair<std::string, CatalogueQuery::Order>> kOrders{
    {"title", CatalogueQuery::Order::kTitle},
    {"author", CatalogueQuery::Order::kAuthor},
    {"price", CatalogueQuery::Order::kPrice},
    {"newest", CatalogueQuery::Order::kNewest}};

}  // namespace

void AddCatalogueCommands(CLI::App& cli, Session& session) {
  const auto request = std::make_shared<Request>();
  CatalogueQuery& query = request->query;
  CLI::App* catalogue =
      AddListing(cli, "catalogue", "List or search what the shop sells",
                 [&session, request](bool as_json) { ShowCatalogue(session, *request, as_json); });
  catalogue->add_option("WORD", request->words, "Only titles that have all of the words");
  catalogue->add_option("--in", query.sections, "Enter a section, by number or name; repeatable")
      ->type_name("SECTION")
      ->allow_extra_args(false);
  catalogue->add_option("--format", query.format, "Only titles in this format, such as epub")
      ->type_name("FORMAT");
  catalogue->add_option("--language", query.language, "Only titles in this language, such as de")
      ->type_name("LANGUAGE");
  catalogue->add_option("--sort", query.order, "By title, author, price or newest first")
      ->type_name("title|author|price|newest")
      ->transform(CLI::CheckedTransformer(kOrders).description(""));
  CLI::Option* page = catalogue->add_option("--page", request->page, "Page of 20 titles, from 1");
  page->type_name("N")->check(CLI::Range(1, 1000).description(""));
  catalogue->add_flag("--all", request->all, "All pages")->excludes(page);
}

}  // namespace app
