#ifndef SALTMOOR_UTILITIES_TEV_UTILITIES_H_
#define SALTMOOR_UTILITIES_TEV_UTILITIES_H_

namespace saltmoor::utilities {

/// Derives an application's signing key from its data string. Thread-safe: each thread has its own
/// data string and key.
class TevUtilities {
 public:
  /// Sets the data string of the calling thread. The string is copied; null counts as empty.
  static void SetSha0Data(const char* data);

  /// Returns the key for the data string of the calling thread: its SHA-256 in lower-case
  /// hexadecimal digits. (The name is older than the algorithm.) Never null; empty on failure,
  /// which is logged. Valid until the same thread calls again.
  static const char* SHA0BadCrypt();
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_TEV_UTILITIES_H_
