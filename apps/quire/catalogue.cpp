#include "catalogue.h"

#include <algorithm>
#include <deque>
#include <set>

#include "saltmoor/utilities/http_request_runner.h"
#include "text.h"
#include "url.h"

namespace app {
namespace {

constexpr std::size_t kMaxPages = 500;
constexpr std::size_t kMaxTitles = 20'000;
constexpr std::size_t kMaxCatalogue_bytes = std::size_t{256} << 20;
constexpr unsigned kTimeout_s = 30;

CommandError Unreadable(const std::string& url, const FeedError& error) {
  return {kFailed, "The catalogue's page " + url + " cannot be read: " + error.what() +
                       ". Try again later."};
}

CommandError TooLarge(const std::string& what) {
  return {kFailed, "The catalogue has more than " + what +
                       ", and the rest is left out. Contact the shop: its pages may form a loop."};
}

}  // namespace

std::optional<CommandError> Catalogue::Read(const std::function<bool(const CatalogueEntry&)>& visit,
                                            std::size_t* skipped_count) const {
  const std::string start = ResolveUrl("", start_url_);
  if (start.empty()) {
    throw CommandError(kFailed, "The shop names no catalogue. Try again later.");
  }
  std::deque<std::string> pending{start};
  std::set<std::string> seen_urls{start};
  std::set<std::string> seen_eans;
  std::size_t title_count = 0;
  std::size_t size_bytes = 0;
  const auto add = [&](const std::string& url, bool first) {
    if (url.empty() || !IsSameOrigin(start, url) || !seen_urls.insert(url).second) return;
    pending.insert(first ? pending.begin() : pending.end(), url);
  };
  for (std::size_t pages = 0; !pending.empty(); ++pages) {
    if (pages == kMaxPages) return TooLarge(std::to_string(kMaxPages) + " pages");
    if (size_bytes > kMaxCatalogue_bytes)
      return TooLarge(std::to_string(kMaxCatalogue_bytes >> 20) + " MiB");
    const std::string url = pending.front();
    pending.pop_front();
    FeedPage page;
    try {
      const std::string xml = fetch_(url);
      size_bytes += xml.size();
      page = ParseFeed(xml, url);
    } catch (const FeedError& error) {
      if (pages == 0) throw Unreadable(url, error);
      return Unreadable(url, error);
    } catch (const CommandError& error) {
      if (pages == 0) throw;
      return error;
    }
    if (skipped_count != nullptr) *skipped_count += page.skipped_count;
    for (const CatalogueEntry& entry : page.entries) {
      if (!entry.ean.empty() && !seen_eans.insert(entry.ean).second) continue;
      if (++title_count > kMaxTitles) return TooLarge(std::to_string(kMaxTitles) + " titles");
      if (!visit(entry)) return std::nullopt;
    }
    for (const std::string& section : page.sections) add(section, false);
    add(page.next_url, true);
  }
  return std::nullopt;
}

std::vector<CatalogueEntry> Catalogue::Find(const std::vector<std::string>& eans) const {
  const std::set<std::string> wanted(eans.begin(), eans.end());
  std::vector<CatalogueEntry> found;
  const auto error = Read([&](const CatalogueEntry& entry) {
    if (wanted.contains(entry.ean)) found.push_back(entry);
    return found.size() < wanted.size();
  });
  if (error && found.size() < wanted.size()) throw CommandError(*error);
  return found;
}

std::string FetchPage(const std::string& url) {
  saltmoor::utilities::HttpRequest request("GET", url);
  request.SetFollowRedirects(true);
  long status = 0;
  std::vector<char> body;
  const int error =
      saltmoor::utilities::HttpRequestRunner().PerformRequest(request, &status, &body, kTimeout_s);
  if (error != 0) {
    throw ToCommandError("The catalogue cannot be read",
                         {saltmoor::quire::Failure::kNetwork, error, 0, {}});
  }
  if (status != 200) {
    throw CommandError(kFailed, "The shop answered HTTP " + std::to_string(status) +
                                    " for the catalogue's page " + url + ". Try again later.");
  }
  return {body.begin(), body.end()};
}

bool Matches(const CatalogueEntry& entry, const std::string& folded_word) {
  const auto contains = [&](const std::string& text) {
    return FoldCase(text).find(folded_word) != std::string::npos;
  };
  return contains(entry.title) || contains(entry.author) || contains(entry.subject) ||
         contains(entry.summary) || contains(entry.ean);
}

}  // namespace app
