#include "navigation_feeds.h"

#include "feed_address.h"
#include "hosts.h"
#include "unicode.h"

namespace devshop {
namespace {

pugi::xml_node AddSection(pugi::xml_node feed, const FeedSettings& settings,
                          const std::string& title, const std::string& content,
                          const std::string& url, const std::string& type) {
  auto entry = AddElement(feed, "entry");
  AddElement(entry, "id", url);
  AddElement(entry, "title", title);
  AddElement(entry, "updated", AtomTime(settings.updated));
  AddElement(entry, "content", content, {{"type", "text"}});
  return AddLink(entry, "subsection", url, type);
}

std::string CountTitles(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " title" : " titles");
}

std::string TitlesUrl(const FeedSettings& settings, const TitleQuery& query) {
  return FeedAddress{settings.titles_path, query}.ToUrl();
}

}  // namespace

std::string SectionsFeed(const Catalogue& catalogue, const FeedSettings& settings) {
  pugi::xml_document document;
  auto feed = AddFeed(document, settings, kShopUrl + kStartPath, kShopName, kNavigationType);
  AddSection(feed, settings, "All titles", CountTitles(catalogue.titles().size()),
             TitlesUrl(settings, {}), kAcquisitionType);
  TitleQuery newest;
  newest.order = SortOrder::kNewest;
  AddSection(feed, settings, "New titles", "The newest first", TitlesUrl(settings, newest),
             kAcquisitionType)
      .attribute("rel") = (kOpds + "sort/new").c_str();
  AddSection(feed, settings, "By language", "Titles in one language", kShopUrl + kLanguagesPath,
             kNavigationType);
  AddSection(feed, settings, "By format", "Titles in one format", kShopUrl + kFormatsPath,
             kNavigationType);
  return Serialize(document);
}

std::string LanguagesFeed(const Catalogue& catalogue, const FeedSettings& settings) {
  pugi::xml_document document;
  auto feed =
      AddFeed(document, settings, kShopUrl + kLanguagesPath, "By language", kNavigationType);
  for (const auto& [language, count] : catalogue.Search({}).by_language) {
    if (language.empty()) continue;
    TitleQuery query;
    query.language = language;
    AddSection(feed, settings, LanguageName(language), CountTitles(count),
               TitlesUrl(settings, query), kAcquisitionType);
  }
  return Serialize(document);
}

std::string FormatsFeed(const Catalogue& catalogue, const FeedSettings& settings) {
  pugi::xml_document document;
  auto feed = AddFeed(document, settings, kShopUrl + kFormatsPath, "By format", kNavigationType);
  for (const auto& [format, count] : catalogue.Search({}).by_format) {
    TitleQuery query;
    query.format = format;
    AddSection(feed, settings, FormatName(format), CountTitles(count), TitlesUrl(settings, query),
               kAcquisitionType);
  }
  return Serialize(document);
}

}  // namespace devshop
