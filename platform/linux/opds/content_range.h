#ifndef PLATFORM_LINUX_OPDS_CONTENT_RANGE_H_
#define PLATFORM_LINUX_OPDS_CONTENT_RANGE_H_

#include <cstdint>
#include <string>

namespace saltmoor::platform {

/// A Content-Range header: "bytes 100-199/200", or "bytes */200" without a range.
struct ContentRange {
  std::int64_t first = -1;  ///< -1 if none
  std::int64_t last = -1;
  std::int64_t total = -1;  ///< -1 if unknown
};

/// Parses the value of a Content-Range header. If it is invalid, all members are -1.
ContentRange ParseContentRange(const std::string& value);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_OPDS_CONTENT_RANGE_H_
