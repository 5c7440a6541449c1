#ifndef TESTS_SUPPORT_FILES_H_
#define TESTS_SUPPORT_FILES_H_

#include <map>
#include <string>

namespace tests {

/// A new directory, removed by the destructor. Its name holds a space and a non-ASCII letter.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

bool Exists(const std::string& path);
std::string ReadFile(const std::string& path);
/// Writes a file and creates its missing parent directories.
void WriteFile(const std::string& path, const std::string& content);
/// Writes an executable file like WriteFile.
void WriteProgram(const std::string& path, const std::string& content);

/// The container file of an EPUB whose package is "OEBPS/content.opf".
inline constexpr char kContainer[] =
    "<?xml version='1.0'?><container xmlns='urn:oasis:names:tc:opendocument:xmlns:container'>"
    "<rootfiles><rootfile full-path='OEBPS/content.opf'/></rootfiles></container>";

/// Writes a ZIP archive.
/// \param entries  the contents by file name.
void WriteZip(const std::string& path, const std::map<std::string, std::string>& entries);

/// Writes an EPUB that holds nothing but its package document.
void WriteEpub(const std::string& path, const std::string& package);

}  // namespace tests

#endif  // TESTS_SUPPORT_FILES_H_
