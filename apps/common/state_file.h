#ifndef QUIRE_APPS_COMMON_STATE_FILE_H_
#define QUIRE_APPS_COMMON_STATE_FILE_H_

#include <optional>
#include <string>

namespace app {

// Small files in which an application keeps its state on the device.

/// Where an application keeps its files.
inline constexpr char kStateDirectory[] = "/mnt/ext1/system/config/";

/// The file's content; empty when there is no such file, nothing when it cannot be read or has more
/// than 16 MiB.
std::optional<std::string> ReadStateFile(const std::string& path);

/// Replaces a file atomically; the new one has mode 0600 and survives a power failure.
[[nodiscard]] bool ReplaceStateFile(const std::string& path, const std::string& content);

/// An exclusive lock of the processes that name the same file. Ends with the process at the latest.
class FileLock {
 public:
  enum class State { kHeld, kBusy, kFailed };

  /// Does not wait. Creates the file when it is missing.
  explicit FileLock(const std::string& path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// kBusy: another process holds it; kFailed: the file cannot be opened.
  State state() const { return state_; }

 private:
  int fd_;
  State state_;
};

}  // namespace app

#endif  // QUIRE_APPS_COMMON_STATE_FILE_H_
