#ifndef DEVSHOP_DATA_DIRECTORY_H_
#define DEVSHOP_DATA_DIRECTORY_H_

#include <filesystem>

namespace devshop {

/// Where the shop keeps its authority and its state: a directory of the user's, locked against a
/// second shop, or a temporary one that goes when the shop closes.
class DataDirectory {
 public:
  /// Makes the directory when missing; an empty path asks for a temporary one. Throws StartError.
  explicit DataDirectory(const std::filesystem::path& path);
  ~DataDirectory();
  DataDirectory(const DataDirectory&) = delete;
  DataDirectory& operator=(const DataDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// Where to keep the state; empty when the directory is temporary.
  std::filesystem::path state_file() const { return temporary_ ? "" : path_ / "state.json"; }

 private:
  std::filesystem::path path_;
  bool temporary_;
  int lock_ = -1;
};

}  // namespace devshop

#endif  // DEVSHOP_DATA_DIRECTORY_H_
