#include "catalogue.h"

#include <algorithm>
#include <deque>
#include <set>

#include "failure_text.h"
#include "saltmoor/utilities/http_request_runner.h"
#include "text.h"
#include "url.h"

namespace app {
namespace {

constexpr std::size_t kMaxPages = 500;
constexpr std::size_t kMaxTitles = 20'000;
constexpr std::size_t kMaxCatalogue_bytes = std::size_t{256} << 20;
constexpr unsigned kTimeout_s = 30;

FeedPage Parse(const std::string& xml, const std::string& url) try {
  return ParseFeed(xml, url);
} catch (const FeedError& error) {
  throw CatalogueError("The catalogue's page " + url + " cannot be read: " + error.what() +
                       ". Try again later.");
}

CatalogueError TooLarge(const std::string& what) {
  return CatalogueError("The catalogue has more than " + what +
                        ", and the rest is left out. Contact the shop: its pages may form a loop.");
}

/// The pages that are still to be read: each URL once, and only those of the first page's origin.
class PageQueue {
 public:
  explicit PageQueue(const std::string& start) : start_(start) { Push(start); }

  /// Appends a page; one that continues the page read last precedes all others.
  void Push(const std::string& url, bool is_continuation = false) {
    if (url.empty() || !IsSameOrigin(start_, url) || !seen_.insert(url).second) return;
    pending_.insert(is_continuation ? pending_.begin() : pending_.end(), url);
  }

  /// Removes the next page and returns its URL; empty when there is none.
  std::string Pop() {
    if (pending_.empty()) return {};
    std::string url = std::move(pending_.front());
    pending_.pop_front();
    return url;
  }

 private:
  std::string start_;
  std::deque<std::string> pending_;
  std::set<std::string> seen_;
};

}  // namespace

void Catalogue::Read(const std::function<bool(const CatalogueEntry&)>& visit,
                     std::size_t* skipped_count) const {
  const std::string start = ResolveUrl("", start_url_);
  if (start.empty()) throw CatalogueError("The shop names no catalogue. Try again later.");
  PageQueue queue(start);
  std::set<std::string> seen_eans;
  std::size_t page_count = 0;
  std::size_t title_count = 0;
  std::size_t size_bytes = 0;
  for (std::string url = queue.Pop(); !url.empty(); url = queue.Pop()) {
    if (++page_count > kMaxPages) throw TooLarge(std::to_string(kMaxPages) + " pages");
    if (size_bytes > kMaxCatalogue_bytes) {
      throw TooLarge(std::to_string(kMaxCatalogue_bytes >> 20) + " MiB");
    }
    const std::string xml = fetch_(url);
    size_bytes += xml.size();
    const FeedPage page = Parse(xml, url);
    if (skipped_count != nullptr) *skipped_count += page.skipped_count;
    for (const CatalogueEntry& entry : page.entries) {
      if (!entry.ean.empty() && !seen_eans.insert(entry.ean).second) continue;
      if (++title_count > kMaxTitles) throw TooLarge(std::to_string(kMaxTitles) + " titles");
      if (!visit(entry)) return;
    }
    for (const std::string& section : page.sections) queue.Push(section);
    queue.Push(page.next_url, true);
  }
}

std::vector<CatalogueEntry> Catalogue::Find(const std::vector<std::string>& eans) const {
  const std::set<std::string> wanted(eans.begin(), eans.end());
  std::vector<CatalogueEntry> found;
  Read([&](const CatalogueEntry& entry) {
    if (wanted.contains(entry.ean)) found.push_back(entry);
    return found.size() < wanted.size();
  });
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
    throw CatalogueError(ExplainFailure("The catalogue cannot be read",
                                        {saltmoor::quire::Failure::kNetwork, error, 0, {}}),
                         true);
  }
  if (status != 200) {
    throw CatalogueError("The shop answered HTTP " + std::to_string(status) +
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
