#ifndef QUIRE_APPS_COMMON_PAGE_CACHE_H_
#define QUIRE_APPS_COMMON_PAGE_CACHE_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "saltmoor/utilities/http_request_runner.h"

namespace app {

/// A page of the catalogue as fetched.
struct FetchedPage {
  std::string content;
  std::string url;  ///< that answered: after redirects another than the requested one
};

/// Pages of the catalogue in a directory of the device, with the validators that the shop sent. A
/// kept page is requested on condition that it has changed; the shop then answers without content.
/// The directory has mode 0700, its files 0600; the pages used longest ago are removed. Without a
/// directory that can be written, nothing is kept. Not thread-safe; several processes may share a
/// directory.
class PageCache {
 public:
  using Response = saltmoor::utilities::HttpRequestRunner::Response;
  /// Performs a request as HttpRequestRunner does.
  using Send = std::function<int(const saltmoor::utilities::HttpRequest&, Response*)>;

  struct Limits {
    std::uintmax_t size_bytes = std::uintmax_t{64} << 20;
    std::size_t files = 4000;
  };

  explicit PageCache(std::string directory);
  PageCache(std::string directory, Send send, Limits limits)
      : directory_(std::move(directory)), send_(std::move(send)), limits_(limits) {}

  /// Fetches a page, with a request in any case. Throws CatalogueError.
  FetchedPage Fetch(const std::string& url);

 private:
  struct Page {
    FetchedPage page;
    std::string etag;
    std::string last_modified;
  };
  struct File {
    std::uintmax_t size_bytes;
    std::int64_t used;  // a point in time; only the order matters
  };

  std::string PathOf(const std::string& url) const;
  /// The kept page; without validators when there is none.
  Page Read(const std::string& url) const;
  void Store(const std::string& url, const Page& page);
  bool Write(const std::string& path, const std::string& content) const;
  void ReadDirectory();
  void RemoveOldest();

  std::string directory_;
  Send send_;
  Limits limits_;
  bool is_directory_read_ = false;
  std::map<std::string, File> files_;  // by path, as soon as the directory is read
  std::uintmax_t size_bytes_ = 0;      // of all files
};

}  // namespace app

#endif  // QUIRE_APPS_COMMON_PAGE_CACHE_H_
