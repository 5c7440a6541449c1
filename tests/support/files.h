#ifndef TESTS_SUPPORT_FILES_H_
#define TESTS_SUPPORT_FILES_H_

#include <string>

namespace tests {

/// A folder that is removed with its content. Its name has a space and an umlaut.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

bool Exists(const std::string& path);
std::string ReadFile(const std::string& path);
/// Writes a file, in folders that are made where there are none.
void WriteFile(const std::string& path, const std::string& content);
/// The same, of a program that may be run.
void WriteProgram(const std::string& path, const std::string& content);

}  // namespace tests

#endif  // TESTS_SUPPORT_FILES_H_
