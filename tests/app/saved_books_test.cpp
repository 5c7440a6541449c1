#include "saved_books.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/files.h"

namespace app {
namespace {

/// A directory for the file of saved books, and for books.
class SavedBooksDirectory : public testing::Test {
 protected:
  SavedBooks Read() const { return SavedBooks(file_); }

  std::string Find(const std::string& ean) const {
    store::Book book;
    book.string_props[store::Book::kEan] = ean;
    return Read().Find(book);
  }

  /// Writes a book and adds it.
  std::string Save(const std::string& ean, const std::string& name) const {
    const std::string path = directory_ / name;
    tests::WriteFile(path, "book");
    EXPECT_TRUE(Read().Add(ean, path));
    return path;
  }

  const tests::TemporaryDirectory directory_;
  const std::string file_ = directory_ / "saved.json";
};

TEST_F(SavedBooksDirectory, FindsABookAfterARestart) {
  const std::string one = Save("1", "Ä “q”.txt");
  Save("2", "b\xFF.pdf");
  EXPECT_EQ(Find("1"), one);
  EXPECT_EQ(Find("2"), "") << "a name that is not UTF-8 does no harm";
  EXPECT_EQ(Find("3"), "");
  struct stat status {};
  ASSERT_EQ(stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(SavedBooksDirectory, DropsEntriesWhoseFileIsGone) {
  const std::string gone = Save("1", "a.txt");
  std::filesystem::remove(gone);
  EXPECT_EQ(Find("1"), "");
  Save("2", "b.txt");
  EXPECT_EQ(tests::ReadFile(file_).find("a.txt"), std::string::npos);
}

TEST_F(SavedBooksDirectory, KeepsOneBookPerPath) {
  Save("1", "same.txt");
  const std::string path = Save("2", "same.txt");
  EXPECT_EQ(Find("1"), "");
  EXPECT_EQ(Find("2"), path);
}

TEST_F(SavedBooksDirectory, StartsEmptyWhenTheFileIsDamaged) {
  for (const char* content : {"", "{\"1\": ", "[1]", "{\"1\": 5}"}) {
    tests::WriteFile(file_, content);
    EXPECT_EQ(Find("1"), "") << content;
  }
  const std::string path = Save("1", "a.txt");
  EXPECT_EQ(Find("1"), path);
}

TEST_F(SavedBooksDirectory, LeavesNoTempFileOnFailure) {
  std::filesystem::create_directories(file_);
  EXPECT_FALSE(Read().Add("1", directory_ / "a.txt"));
  const std::filesystem::directory_iterator entries(directory_.path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

}  // namespace
}  // namespace app
