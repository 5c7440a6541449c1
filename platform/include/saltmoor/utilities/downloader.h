#ifndef SALTMOOR_UTILITIES_DOWNLOADER_H_
#define SALTMOOR_UTILITIES_DOWNLOADER_H_

#include <cstdint>
#include <string>

namespace saltmoor::utilities {

/// What is common to the downloads of the platform.
class Downloader {
 public:
  /// How a download ended.
  struct StatusInfo {
    std::int32_t code = 0;         ///< 0 success, else the transport's error
    std::int64_t size = 0;         ///< bytes of the whole file; 0 when unknown
    std::int32_t http_status = 0;  ///< of the last answer; 0 when none came
    std::string url;               ///< the address asked for
    std::string content_type;      ///< as the server sent it, parameters included
    std::string error;             ///< for people; empty on success
  };
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_DOWNLOADER_H_
