#ifndef QUIRE_APPS_COMMON_PENDING_DOWNLOADS_H_
#define QUIRE_APPS_COMMON_PENDING_DOWNLOADS_H_

#include <string>
#include <vector>

#include "state_file.h"

namespace app {

/// The books that a user has asked to download and that are not on the device yet, by EAN and in
/// their order, kept in a file (mode 0600). A file that is missing, damaged or another user's has
/// none. Not thread-safe.
class PendingDownloads {
 public:
  explicit PendingDownloads(std::string user, std::string file = std::string(kStateDirectory) +
                                                                 "quire_downloads.json");

  const std::vector<std::string>& eans() const { return eans_; }

  /// Appends the EANs that are not there yet.
  /// \return false when the file could not be written.
  [[nodiscard]] bool Add(const std::vector<std::string>& eans);

  /// Removes an EAN. Returns as Add.
  [[nodiscard]] bool Remove(const std::string& ean);

 private:
  bool Write() const;

  std::string user_;
  std::string file_;
  std::vector<std::string> eans_;
};

}  // namespace app

#endif  // QUIRE_APPS_COMMON_PENDING_DOWNLOADS_H_
