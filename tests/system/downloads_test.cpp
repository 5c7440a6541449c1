#include <filesystem>

#include "on_device.h"

namespace tests {
namespace {

// What stands in the download folder and is neither hidden nor a part.
std::vector<std::string> Books() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator("/mnt/ext1/Downloads")) {
    const std::string name = entry.path().filename();
    if (name.front() != '.' && name.find(".part") == std::string::npos) names.push_back(name);
  }
  return names;
}

class Downloads : public OnDevice {
 protected:
  void SetUp() override {
    OnDevice::SetUp();
    LogIn();
    book_ = Ean(Bought("epub"));
  }

  const std::string path_ = "/files/*";
  std::string book_;
};

TEST_F(Downloads, ACutOneGoesOnWhereItWasAndEndsWhole) {
  const BookStatus whole = Download(book_);
  ASSERT_EQ(whole.status, BookStatus::kDownloaded);
  const std::string content = ReadFile(whole.path);
  std::filesystem::remove(whole.path);

  shop_.Arm({{"path", path_}, {"fault", "truncate"}, {"after_bytes", 700}});
  const BookStatus again = Download(book_);
  ASSERT_EQ(again.status, BookStatus::kDownloaded);
  EXPECT_EQ(ReadFile(again.path), content);
  EXPECT_EQ(shop_.Delivered(), 1);
  EXPECT_EQ(Books().size(), 1u);
}

TEST_F(Downloads, AnErrorLeavesNoFileUnderTheBooksName) {
  for (const int status : {404, 403}) {
    shop_.Arm({{"path", path_}, {"fault", "status"}, {"status", status}});
    EXPECT_EQ(Download(book_).status, BookStatus::kPurchased) << status;
    EXPECT_TRUE(Books().empty()) << Books().front();
  }
  EXPECT_EQ(shop_.Delivered(), 2);
  EXPECT_EQ(Download(book_).status, BookStatus::kDownloaded);
}

TEST_F(Downloads, TheBookThatIsQueuedWhileAnotherDownloadsIsForgotten) {
  shop_.Arm({{"path", path_}, {"fault", "hang"}, {"delay_ms", 400}});
  const std::string other = Ean(Bought("pdf"));
  manager_.DownloadBookById(book_);
  EXPECT_EQ(Download(other).status, BookStatus::kPurchased);
  EXPECT_EQ(manager_.GetBookStatus(book_).status, BookStatus::kDownloaded);
}

}  // namespace
}  // namespace tests
