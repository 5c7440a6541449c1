#ifndef DEVSHOP_FILES_H_
#define DEVSHOP_FILES_H_

#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "http_message.h"
#include "shop.h"

namespace devshop {

/// Serves the books that customers bought, and covers: ranges, strong entity tags, If-Range. Any
/// thread.
class Files {
 public:
  explicit Files(Shop& shop) : shop_(shop) {}

  /// Answers `/files/TOKEN/EAN/NAME`, where the token proves that the customer bought the title.
  void ServeBook(const Request& request, Response& response);
  /// Answers `/covers/EAN`.
  void ServeCover(const Request& request, Response& response);

  /// Serves other bytes, or in another options, in place of a book's file:
  /// `{"ean", "text" | "size_bytes" and "revision", "ranges", "validators", "chunked"}`. Gives what
  /// is served from then on. Throws BadInstruction.
  Json Replace(const Json& instruction);
  /// Serves the directory's files again.
  void Restore();
  /// Each title with its size, digest and entity tag as served.
  Json ToJson() const;

 private:
  /// A stand-in for a title's file, and how it is served.
  struct ServeOptions {
    std::shared_ptr<const std::string> bytes;  // null: the file's own
    std::string revision;
    bool ranges = true;
    bool chunked = false;
    std::string validators = "strong";  // or "date" or "none"
  };
  /// Bytes opened for one answer, so that what is sent is one version throughout.
  struct Content {
    std::size_t size_bytes = 0;
    std::string etag;
    std::time_t modified = 0;
    Response::Reader read;
  };

  static std::optional<Content> OpenFile(const std::filesystem::path& path);
  static Content OpenBytes(std::shared_ptr<const std::string> bytes, const std::string& revision);
  static void Serve(const Content& content, const ServeOptions& options, const std::string& type,
                    const Request& request, Response& response);

  ServeOptions OptionsFor(const std::string& ean) const;
  std::optional<Content> OpenBook(const Title& title, const ServeOptions& options) const;
  bool IsCustomer(const std::string& ean, const std::string& token);
  Json BookJson(const Title& title) const;

  Shop& shop_;
  mutable std::mutex mutex_;
  std::map<std::string, ServeOptions> options_by_ean_;  // by EAN
};

}  // namespace devshop

#endif  // DEVSHOP_FILES_H_
