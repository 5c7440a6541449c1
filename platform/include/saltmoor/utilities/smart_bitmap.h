#ifndef SALTMOOR_UTILITIES_SMART_BITMAP_H_
#define SALTMOOR_UTILITIES_SMART_BITMAP_H_

#include <memory>

struct ibitmap_s;

namespace saltmoor::utilities {

/// A bitmap by value: empty when default-constructed; copies share the same pixels, which nothing
/// changes.
class SmartBitmap {
 private:
  std::shared_ptr<const ibitmap_s> pixels_;
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_SMART_BITMAP_H_
