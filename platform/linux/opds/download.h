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
  int connect_s = 30;
  int stall_s = 30;  ///< the longest time without a byte
  /// Before each further try after a fault that may pass; when they are used up and no byte has
  /// come since, the download has failed.
  std::vector<std::chrono::milliseconds> pauses{std::chrono::milliseconds(500),
                                                std::chrono::milliseconds(1500)};
};

/// Fetches one address into a part, over as many requests as it takes.
class Download {
 public:
  /// Called with the bytes that are there and those of the whole file, 0 while unknown.
  using Progress = std::function<void(std::int64_t done, std::int64_t total)>;

  /// \param part  open; stays the caller's.
  Download(PartFile* part, std::string address, Progress progress, DownloadLimits limits = {});

  /// Waits for the end. On success the file has its name; on failure the part stays only where a
  /// later download can go on with it.
  Error Run();

  /// The status of the last answer; 0 when none came.
  int http_status() const { return http_status_; }
  /// As the server sent it, also where it came with an earlier answer.
  const std::string& content_type() const { return content_type_; }

 private:
  class Request;
  Error Fetch();

  PartFile* const part_;
  const std::string address_;
  const Progress progress_;
  const DownloadLimits limits_;
  int http_status_ = 0;
  std::string content_type_;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_OPDS_DOWNLOAD_H_
