#ifndef DEVSHOP_DATA_DIRECTORY_H_
#define DEVSHOP_DATA_DIRECTORY_H_

#include <filesystem>

namespace devshop {

/// The directory of the shop's authority and state: the user's, locked against a second shop, or a
/// temporary one that the destructor removes.
class DataDirectory {
 public:
  /// Creates a missing directory; an empty path, a temporary one. Throws StartError.
  explicit DataDirectory(const std::filesystem::path& path);
  ~DataDirectory();
  DataDirectory(const DataDirectory&) = delete;
  DataDirectory& operator=(const DataDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// Empty when the directory is temporary.
  std::filesystem::path state_file() const { return temporary_ ? "" : path_ / "state.json"; }

 private:
  std::filesystem::path path_;
  bool temporary_;
  int lock_ = -1;
};

}  // namespace devshop

#endif  // DEVSHOP_DATA_DIRECTORY_H_
