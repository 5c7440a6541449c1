#ifndef DEVSHOP_FILE_SERVER_H_
#define DEVSHOP_FILE_SERVER_H_

#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "http_message.h"
#include "json.h"
#include "shop.h"

namespace devshop {

/// Serves bought books and covers, with ranges, strong entity tags and If-Range. Thread-safe.
class FileServer {
 public:
  explicit FileServer(Shop& shop) : shop_(shop) {}

  /// Serves `/files/TOKEN/EAN/NAME`; the token proves that a customer bought the title.
  void ServeBook(const Request& request, Response& response);
  /// Serves `/covers/EAN`.
  void ServeCover(const Request& request, Response& response);

  /// Replaces a book's bytes or changes how they are served:
  /// `{"ean", "text" | "size_bytes" and "revision", "ranges", "validators", "chunked"}`. Returns
  /// what is served from then on. Throws InvalidControlRequest.
  Json Replace(const Json& fields);
  /// Undoes all of Replace.
  void Restore();
  /// Each title with its size, digest and entity tag, as served.
  Json ToJson() const;

 private:
  /// How a title's file is served, and the bytes that replace it.
  struct ServeOptions {
    std::shared_ptr<const std::string> bytes;  // null: the file's own
    std::string revision;
    std::time_t modified = 0;  // when they were replaced
    bool ranges = true;
    bool chunked = false;
    std::string validators = "strong";  // or "date" or "none"
  };
  /// A file opened for one response, so that all pieces are of one version.
  struct Content {
    std::size_t size_bytes = 0;
    std::string etag;
    std::time_t modified = 0;
    Response::Reader read;
  };

  static std::optional<Content> OpenFile(const std::filesystem::path& path);
  static Content OpenBytes(std::shared_ptr<const std::string> bytes, const std::string& revision,
                           std::time_t modified);
  static Content OpenGenerated(std::string bytes);
  static void Serve(const Content& content, const ServeOptions& options, const std::string& type,
                    const Request& request, Response& response);

  ServeOptions OptionsFor(const std::string& ean) const;
  std::optional<Content> OpenBook(const Title& title, const ServeOptions& options) const;
  bool IsCustomer(const std::string& ean, const std::string& token);
  Json BookToJson(const Title& title) const;

  Shop& shop_;
  mutable std::mutex mutex_;
  std::map<std::string, ServeOptions> options_by_ean_;
};

}  // namespace devshop

#endif  // DEVSHOP_FILE_SERVER_H_
