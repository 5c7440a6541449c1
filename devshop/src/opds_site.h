#ifndef DEVSHOP_OPDS_SITE_H_
#define DEVSHOP_OPDS_SITE_H_

#include <ctime>
#include <optional>
#include <string>

#include "catalogue.h"
#include "http_message.h"
#include "opds_document.h"

namespace devshop {

struct OpdsOptions {
  std::size_t page_size = 10;  ///< titles per page
  bool navigation = false;     ///< the start page lists sections instead of titles
};

/// The catalogue as OPDS 1.2 feeds, which README.md describes. Thread-safe.
class OpdsSite {
 public:
  /// The catalogue must outlive the site.
  OpdsSite(const Catalogue& catalogue, const OpdsOptions& options);

  /// Serves a path under kOpdsPath, with validators; 404 when there is no such feed or page.
  void Serve(const Request& request, Response& response) const;

 private:
  struct Document {
    std::string content;
    const char* type;
  };
  /// Empty when the path or the page does not exist.
  std::optional<Document> CreateDocument(const Request& request) const;

  const Catalogue& catalogue_;
  const bool navigation_;
  const FeedSettings settings_;
  const std::time_t started_;
};

}  // namespace devshop

#endif  // DEVSHOP_OPDS_SITE_H_
