#ifndef SALTMOOR_UTILITIES_DOWNLOADER_H_
#define SALTMOOR_UTILITIES_DOWNLOADER_H_

#include <cstdint>
#include <string>

namespace saltmoor::utilities {

/// Types that all downloads of the platform share.
class Downloader {
 public:
  /// The result of a download.
  struct StatusInfo {
    std::int32_t code = 0;         ///< 0 on success, otherwise above 0
    std::int64_t size = 0;         ///< of the whole file, in bytes; 0 if unknown
    std::int32_t http_status = 0;  ///< of the last response; 0 if there was none
    std::string url;               ///< as requested
    std::string content_type;      ///< as received, with its parameters
    std::string error;             ///< the reason, for a person; empty on success
  };
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_DOWNLOADER_H_
