#include "catalogue.h"

#include <algorithm>
#include <deque>
#include <set>

#include "failure_message.h"
#include "saltmoor/utilities/http_request_runner.h"
#include "text.h"
#include "web_address.h"

namespace app {
namespace {

constexpr std::size_t kMaxPages = 500;
constexpr std::size_t kMaxTitles = 20'000;
constexpr std::size_t kMaxSize_bytes = std::size_t{256} << 20;
constexpr unsigned kTimeout_s = 30;

CommandError Unreadable(const std::string& url, const FeedError& error) {
  return {kFailed, "The catalogue's page " + url + " cannot be read: " + error.what() +
                       ". Try again later, or ask the shop."};
}

CommandError TooLarge(const std::string& what) {
  return {kFailed, "The catalogue has more than " + what +
                       "; the rest is left out. Ask the shop's "
                       "keeper whether its pages lead in a circle."};
}

}  // namespace

std::optional<CommandError> Catalogue::Read(const std::function<bool(const CatalogueEntry&)>& visit,
                                            std::size_t* skipped_count) const {
  const std::string start = ResolveAddress("", start_url_);
  if (start.empty()) {
    throw CommandError(kFailed, "The shop names no catalogue. Try again later, or ask the shop.");
  }
  std::deque<std::string> due{start};
  std::set<std::string> known{start};
  std::set<std::string> seen_eans;
  std::size_t titles = 0;
  std::size_t bytes = 0;
  const auto add = [&](const std::string& url, bool first) {
    if (url.empty() || !IsSameSite(start, url) || !known.insert(url).second) return;
    due.insert(first ? due.begin() : due.end(), url);
  };
  for (std::size_t pages = 0; !due.empty(); ++pages) {
    if (pages == kMaxPages) return TooLarge(std::to_string(kMaxPages) + " pages");
    if (bytes > kMaxSize_bytes) return TooLarge(std::to_string(kMaxSize_bytes >> 20) + " MiB");
    const std::string url = due.front();
    due.pop_front();
    FeedPage page;
    try {
      const std::string xml = fetch_(url);
      bytes += xml.size();
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
      if (++titles > kMaxTitles) return TooLarge(std::to_string(kMaxTitles) + " titles");
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
  const auto has = [&](const std::string& text) {
    return FoldCase(text).find(folded_word) != std::string::npos;
  };
  return has(entry.title) || has(entry.author) || has(entry.subject) || has(entry.summary) ||
         has(entry.ean);
}

}  // namespace app
