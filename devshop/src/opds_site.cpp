#include "opds_site.h"

#include <algorithm>

#include "crypto.h"
#include "hosts.h"
#include "navigation_feeds.h"
#include "timestamp.h"
#include "titles_feed.h"

namespace devshop {
namespace {

std::string NewestPublished(const Catalogue& catalogue) {
  std::string newest;
  for (const Title& title : catalogue.titles()) newest = std::max(newest, title.published);
  return newest;
}

std::string SearchDescription(const std::string& titles_path) {
  pugi::xml_document document;
  auto description = AddElement(document, "OpenSearchDescription", "", {{"xmlns", kOpenSearch}});
  AddElement(description, "ShortName", kShopName);
  AddElement(description, "Description", "Searches titles, authors, subjects, summaries and EANs");
  AddElement(description, "InputEncoding", "UTF-8");
  AddElement(description, "Url", "",
             {{"type", kAcquisitionType},
              {"template", kShopUrl + titles_path + "?q={searchTerms}&page={startPage?}"}});
  return Serialize(document);
}

/// True when the client's copy is the current one. An entity tag decides before a date does.
bool IsCurrent(const Request& request, const std::string& etag, std::time_t modified) {
  const std::string known_tags = request.GetHeader("If-None-Match");
  if (!known_tags.empty()) return known_tags == "*" || known_tags.find(etag) != std::string::npos;
  const auto since = ParseHttpDate(request.GetHeader("If-Modified-Since"));
  return since && modified <= *since;
}

}  // namespace

OpdsSite::OpdsSite(const Catalogue& catalogue, const OpdsOptions& options)
    : catalogue_(catalogue),
      navigation_(options.navigation),
      settings_{options.navigation ? kNavigationType : kAcquisitionType,
                options.navigation ? kTitlesPath : kStartPath, NewestPublished(catalogue),
                options.page_size},
      started_(std::time(nullptr)) {}

std::optional<OpdsSite::Document> OpdsSite::CreateDocument(const Request& request) const {
  const std::string& path = request.path;
  if (path == kSearchDescriptionPath) {
    return Document{SearchDescription(settings_.titles_path), kSearchType};
  }
  if (path == kLanguagesPath)
    return Document{LanguagesFeed(catalogue_, settings_), kNavigationType};
  if (path == kFormatsPath) return Document{FormatsFeed(catalogue_, settings_), kNavigationType};
  if (path == kStartPath && navigation_) {
    return Document{SectionsFeed(catalogue_, settings_), kNavigationType};
  }
  if (path != kStartPath && path != kTitlesPath) return std::nullopt;
  const auto address = ParseFeedAddress(path, request.query);
  const auto feed = address ? TitlesFeed(catalogue_, settings_, *address) : std::nullopt;
  if (!feed) return std::nullopt;
  return Document{*feed, kAcquisitionType};
}

void OpdsSite::Serve(const Request& request, Response& response) const {
  const auto document = CreateDocument(request);
  if (!document) return response.SetError(404, "The catalogue has no such feed, page or order.");
  const std::string etag = "\"" + Sha256Hex(document->content).substr(0, 16) + "\"";
  response.SetHeader("ETag", etag);
  response.SetHeader("Last-Modified", FormatHttpDate(started_));
  response.SetHeader("Cache-Control", "no-cache");
  if (IsCurrent(request, etag, started_)) {
    response.status = 304;
  } else {
    response.SetContent(document->content, document->type);
  }
}

}  // namespace devshop
