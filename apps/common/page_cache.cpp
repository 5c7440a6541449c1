#include "page_cache.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "catalogue_error.h"
#include "failure_text.h"
#include "opds_feed.h"

namespace app {
namespace {

namespace fs = std::filesystem;
using saltmoor::utilities::HttpRequest;
using saltmoor::utilities::HttpRequestRunner;

constexpr char kFormat[] = "quire-page 1";
constexpr unsigned kTimeout_s = 30;

std::string GetHeader(const PageCache::Response& response, const char* name) {
  const auto found = response.headers.find(name);
  return found == response.headers.end() ? std::string() : found->second;
}

bool MayBeKept(const PageCache::Response& response) {
  return GetHeader(response, "cache-control").find("no-store") == std::string::npos;
}

/// Marks a file as used now.
void Touch(const std::string& path) {
  utimensat(AT_FDCWD, path.c_str(), nullptr, 0);
}

std::string ReadFile(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

}  // namespace

PageCache::PageCache(std::string directory)
    : PageCache(
          std::move(directory),
          [](const HttpRequest& request, Response* response) {
            return HttpRequestRunner().PerformRequest(request, response, kTimeout_s);
          },
          Limits()) {}

FetchedPage PageCache::Fetch(const std::string& url) {
  Page kept = Read(url);
  HttpRequest request("GET", url);
  request.SetFollowRedirects(true);
  if (!kept.etag.empty()) request.AddHeader("If-None-Match", kept.etag);
  if (!kept.last_modified.empty()) request.AddHeader("If-Modified-Since", kept.last_modified);
  Response response;
  const int error = send_(request, &response);
  if (error != 0) {
    throw CatalogueError(ExplainFailure("The catalogue cannot be read",
                                        {saltmoor::quire::Failure::kNetwork, error, 0, {}},
                                        "Check the network and try again."),
                         true);
  }
  if (response.status == 304 && !kept.page.url.empty()) {
    Touch(PathOf(url));
    return std::move(kept.page);
  }
  if (response.status != 200) {
    throw CatalogueError("The shop answered HTTP " + std::to_string(response.status) +
                         " for the catalogue's page " + url + ". Try again later.");
  }
  Page page{{{response.body.begin(), response.body.end()}, response.url},
            GetHeader(response, "etag"),
            GetHeader(response, "last-modified")};
  if (MayBeKept(response)) Store(url, page);
  return std::move(page.page);
}

std::string PageCache::PathOf(const std::string& url) const {
  std::array<char, 17> name{};
  std::snprintf(name.data(), name.size(), "%016zx", std::hash<std::string>()(url));
  return directory_ + "/" + name.data();
}

PageCache::Page PageCache::Read(const std::string& url) const {
  const std::string content = ReadFile(PathOf(url));
  std::istringstream in(content);
  std::array<std::string, 6> head;
  for (std::string& line : head) {
    if (!std::getline(in, line)) return {};
  }
  const auto& [format, kept_url, page_url, etag, last_modified, size] = head;
  const std::string body = content.substr(static_cast<std::size_t>(in.tellg()));
  // Another URL may have the same hash, and a crash may have cut the file.
  if (format != kFormat || kept_url != url || size != std::to_string(body.size())) return {};
  return {{body, page_url}, etag, last_modified};
}

void PageCache::Store(const std::string& url, const Page& page) {
  const bool has_validator = !page.etag.empty() || !page.last_modified.empty();
  const std::string path = PathOf(url);
  const std::string& body = page.page.content;
  if (!has_validator ||
      body.size() > std::min<std::uintmax_t>(kMaxPage_bytes, limits_.size_bytes)) {
    return;
  }
  ReadDirectory();
  const std::string content = std::string(kFormat) + "\n" + url + "\n" + page.page.url + "\n" +
                              page.etag + "\n" + page.last_modified + "\n" +
                              std::to_string(body.size()) + "\n" + body;
  if (!Write(path, content)) return;
  size_bytes_ += content.size();
  if (const auto before = files_.find(path); before != files_.end()) {
    size_bytes_ -= before->second.size_bytes;
  }
  std::error_code error;
  const auto used = fs::last_write_time(path, error).time_since_epoch().count();
  files_[path] = {content.size(), used};
  RemoveOldest();
}

/// The page can be fetched again, so that the file is not synced.
bool PageCache::Write(const std::string& path, const std::string& content) const {
  std::string temp_file = path + ".XXXXXX";
  const int fd = mkostemp(temp_file.data(), O_CLOEXEC);  // mode 0600
  FILE* const file = fd < 0 ? nullptr : fdopen(fd, "wb");
  if (file == nullptr) return false;
  bool done = std::fwrite(content.data(), 1, content.size(), file) == content.size();
  done = std::fclose(file) == 0 && done;
  done = done && std::rename(temp_file.c_str(), path.c_str()) == 0;
  if (!done) unlink(temp_file.c_str());
  return done;
}

void PageCache::ReadDirectory() {
  if (is_directory_read_) return;
  is_directory_read_ = true;
  std::error_code error;
  fs::create_directories(fs::path(directory_).parent_path(), error);
  mkdir(directory_.c_str(), 0700);
  for (const auto& entry : fs::directory_iterator(directory_, error)) {
    const std::uintmax_t size_bytes = entry.file_size(error);
    if (error) continue;
    files_[entry.path()] = {size_bytes, entry.last_write_time(error).time_since_epoch().count()};
    size_bytes_ += size_bytes;
  }
}

void PageCache::RemoveOldest() {
  while (files_.size() > 1 && (files_.size() > limits_.files || size_bytes_ > limits_.size_bytes)) {
    const auto oldest = std::min_element(
        files_.begin(), files_.end(),
        [](const auto& one, const auto& other) { return one.second.used < other.second.used; });
    unlink(oldest->first.c_str());
    size_bytes_ -= oldest->second.size_bytes;
    files_.erase(oldest);
  }
}

}  // namespace app
