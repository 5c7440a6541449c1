#include <filesystem>

#include "device_with_shop.h"

namespace tests {
namespace {

class BookDownload : public DeviceWithShop {};

TEST_F(BookDownload, ResumesAfterConnectionLoss) {
  LogIn();
  const std::string ean = Ean(FindPurchased("epub"));
  const BookStatus complete = Download(ean);
  ASSERT_EQ(complete.status, BookStatus::kDownloaded);
  const std::string content = ReadFile(complete.path);
  std::filesystem::remove(complete.path);

  shop_.Arm({{"path", "/files/*"}, {"fault", "truncate"}, {"after_bytes", 700}});
  const BookStatus resumed = Download(ean);
  ASSERT_EQ(resumed.status, BookStatus::kDownloaded);
  EXPECT_EQ(ReadFile(resumed.path), content);
  EXPECT_EQ(shop_.Delivered(), 1);
  for (const auto& entry : std::filesystem::directory_iterator("/mnt/ext1/Downloads")) {
    EXPECT_EQ(entry.path(), resumed.path) << "an unfinished download is left";
  }
}

}  // namespace
}  // namespace tests
