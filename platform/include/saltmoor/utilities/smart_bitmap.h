#ifndef SALTMOOR_UTILITIES_SMART_BITMAP_H_
#define SALTMOOR_UTILITIES_SMART_BITMAP_H_

#include <memory>

struct ibitmap_s;

namespace saltmoor::utilities {

/// A bitmap with value semantics. A default-constructed one is empty; copies share their immutable
/// pixels.
class SmartBitmap {
 private:
  std::shared_ptr<const ibitmap_s> pixels_;
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_SMART_BITMAP_H_
