#ifndef QUIRE_FILE_NAMES_PARTS_H_
#define QUIRE_FILE_NAMES_PARTS_H_

#include <string>
#include <string_view>

namespace saltmoor::quire {

/// Appends a file name to a path, part by part, cleaned as by VerifyFilename.
class FileNameAppender {
 public:
  /// \param path  must outlive this.
  FileNameAppender(std::string& path, unsigned max_chars, bool drop_hash)
      : path_(path), begin_(path.size()), chars_left_(max_chars), drop_hash_(drop_hash) {}

  /// Appends nothing after a zero byte and after the maximum.
  void Append(std::string_view part);

 private:
  std::string& path_;
  const std::size_t begin_;
  unsigned chars_left_;
  const bool drop_hash_;
  bool ended_ = false;
};

/// Where the extension, with its dot, begins; the end of the path when it has none.
std::size_t FindExtension(const std::string& path);

}  // namespace saltmoor::quire

#endif  // QUIRE_FILE_NAMES_PARTS_H_
