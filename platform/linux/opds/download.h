#ifndef PLATFORM_LINUX_OPDS_DOWNLOAD_H_
#define PLATFORM_LINUX_OPDS_DOWNLOAD_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/linux/common/error.h"
#include "platform/linux/opds/part_file.h"

namespace saltmoor::platform {

struct DownloadLimits {
  int connect_timeout_s = 30;
  int stall_timeout_s = 30;  ///< the longest time without a byte
  /// The delay before each retry after a transient failure. The download fails when all retries are
  /// used; received bytes start the count again.
  std::vector<std::chrono::milliseconds> retry_delays{std::chrono::milliseconds(500),
                                                      std::chrono::milliseconds(1500)};
};

/// Downloads one URL into a part file, with as many requests as necessary. Not thread-safe.
class Download {
 public:
  /// Called with the bytes received and the bytes of the whole file, 0 if unknown.
  using Progress = std::function<void(std::int64_t done, std::int64_t total)>;

  /// \param part  open; owned by the caller.
  Download(PartFile* part, std::string url, Progress progress, DownloadLimits limits = {});

  /// Runs the download and waits for its end. On success the file has its final name; on failure
  /// the part file remains only if a later download can resume it.
  Error Run();

  /// The status of the last response; 0 if there was none.
  int http_status() const { return http_status_; }
  /// As received, possibly with an earlier response.
  const std::string& content_type() const { return content_type_; }

 private:
  class Request;
  Error Fetch();

  PartFile* const part_;
  const std::string url_;
  const Progress progress_;
  const DownloadLimits limits_;
  int http_status_ = 0;
  std::string content_type_;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_OPDS_DOWNLOAD_H_
