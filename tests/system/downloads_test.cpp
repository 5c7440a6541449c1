#include <gtest/gtest.h>

#include <filesystem>

#include "book_files.h"
#include "on_device.h"
#include "support/development_shop.h"

namespace {

using namespace on_device;
using namespace saltmoor::quire;

// What stands in the download folder and is neither hidden nor a part.
std::vector<std::string> Books() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kDownloads)) {
    const std::string name = entry.path().filename();
    if (name.front() != '.' && name.find(".part") == std::string::npos) names.push_back(name);
  }
  return names;
}

class Downloads : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(manager_.Init(), 0);
    ASSERT_EQ(manager_.LogIn(kUser, kPassword).code_, ServerApi::kOk);
    book_ = Bought(manager_, "epub");
    const std::string& link = book_.string_props[Book::kEbookLink];
    const auto path_begin = link.find('/', link.find("//") + 2);
    path_ = link.substr(path_begin, link.find('?') - path_begin);
  }

  void Arm(const std::string& kind, const char* key = nullptr, const Json::Value& value = {}) {
    Json::Value fault;
    fault["path"] = path_;
    fault["fault"] = kind;
    fault["times"] = 1;
    if (key != nullptr) fault[key] = value;
    shop_.Arm(fault);
  }

  BookStatus Download() {
    manager_.DownloadBookById(Ean(book_));
    EXPECT_TRUE(FinishDownload(manager_));
    return manager_.GetBookStatus(Ean(book_));
  }

  tests::DevelopmentShop shop_;
  StoreManager& manager_ = StoreManager::Instance();
  Book book_;
  std::string path_;
};

TEST_F(Downloads, ACutOneGoesOnWhereItWasAndEndsWhole) {
  const BookStatus whole = Download();
  ASSERT_EQ(whole.status, BookStatus::kDownloaded);
  const std::string content = Content(whole.path);
  std::filesystem::remove(whole.path);

  Arm("truncate", "after_bytes", 700);
  const BookStatus again = Download();
  ASSERT_EQ(again.status, BookStatus::kDownloaded);
  EXPECT_EQ(Content(again.path), content);
  EXPECT_EQ(shop_.Delivered(), 1);
  EXPECT_EQ(Books().size(), 1u);
}

TEST_F(Downloads, AnErrorLeavesNoFileUnderTheBooksName) {
  for (const int status : {404, 403}) {
    Arm("status", "status", status);
    EXPECT_EQ(Download().status, BookStatus::kPurchased) << status;
    EXPECT_TRUE(Books().empty()) << Books().front();
  }
  EXPECT_EQ(shop_.Delivered(), 2);
  EXPECT_EQ(Download().status, BookStatus::kDownloaded);
}

TEST_F(Downloads, TheBookThatIsQueuedWhileAnotherDownloadsIsForgotten) {
  Arm("hang", "delay_ms", 400);
  const Book other = Bought(manager_, "pdf");
  manager_.DownloadBookById(Ean(book_));
  manager_.DownloadBookById(Ean(other));
  EXPECT_EQ(manager_.GetBookStatus(Ean(other)).status, BookStatus::kDownloading);
  EXPECT_EQ(manager_.GetBookStatus(Ean(book_)).status, BookStatus::kPurchased);
  ASSERT_TRUE(FinishDownload(manager_));
  EXPECT_EQ(manager_.GetBookStatus(Ean(book_)).status, BookStatus::kDownloaded);
  EXPECT_EQ(manager_.GetBookStatus(Ean(other)).status, BookStatus::kPurchased);
}

}  // namespace
