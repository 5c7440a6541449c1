#ifndef PLATFORM_LINUX_OPDS_CONTENT_RANGE_H_
#define PLATFORM_LINUX_OPDS_CONTENT_RANGE_H_

#include <cstdint>

namespace saltmoor::platform {

/// A Content-Range field: "bytes 100-199/200", or "bytes */200" where no range could be given.
struct ContentRange {
  std::int64_t first = -1;  ///< -1: none
  std::int64_t last = -1;
  std::int64_t total = -1;  ///< -1: unknown
};

/// \param field  may be null.
/// \return false when it is no such field; all members are -1 then.
bool ParseContentRange(const char* field, ContentRange* range);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_OPDS_CONTENT_RANGE_H_
