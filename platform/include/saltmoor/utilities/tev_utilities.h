#ifndef SALTMOOR_UTILITIES_TEV_UTILITIES_H_
#define SALTMOOR_UTILITIES_TEV_UTILITIES_H_

namespace saltmoor::utilities {

/// Derives an application's signing key from its data string. The data string is kept per thread,
/// so that two threads cannot mix up their keys.
class TevUtilities {
 public:
  /// Sets this thread's data string. It is copied; null counts as the empty text.
  static void SetSha0Data(const char* data);

  /// The key for this thread's data string: the lower-case hexadecimal SHA-256 of it. (The name is
  /// older than the algorithm.) Never null; valid until this thread calls it again.
  static const char* SHA0BadCrypt();
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_TEV_UTILITIES_H_
