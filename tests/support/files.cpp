#include "support/files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tests {

TemporaryDirectory::TemporaryDirectory() {
  path_ = (std::filesystem::temp_directory_path() / "quire tést XXXXXX").string();
  if (!mkdtemp(path_.data())) ADD_FAILURE() << "cannot create " << path_;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

bool Exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();  // unlike an iterator, does not throw when a process in /proc has exited
  return content.str();
}

void WriteFile(const std::string& path, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

void WriteProgram(const std::string& path, const std::string& content) {
  WriteFile(path, content);
  chmod(path.c_str(), 0755);
}

void WriteZip(const std::string& path, const std::map<std::string, std::string>& entries) {
  zip_t* zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  ASSERT_TRUE(zip);
  for (const auto& [name, content] : entries) {
    zip_source_t* source = zip_source_buffer(zip, content.data(), content.size(), 0);
    ASSERT_GE(zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8), 0);
  }
  ASSERT_EQ(zip_close(zip), 0);
}

void WriteEpub(const std::string& path, const std::string& package) {
  WriteZip(path, {{"META-INF/container.xml", kContainer}, {"OEBPS/content.opf", package}});
}

}  // namespace tests
