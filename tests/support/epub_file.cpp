#include "support/epub_file.h"

#include <gtest/gtest.h>
#include <zip.h>

namespace tests {

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
