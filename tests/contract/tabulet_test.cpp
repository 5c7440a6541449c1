#include <cerrno>
#include <thread>

#include "saltmoor/utilities/book_store_auth_configs.h"
#include "support/suite.h"

namespace {

TEST(Tabulet, ReturnsOneSerialNumberToAllThreads) {
  const char* const serial = GetSerialNumber();
  ASSERT_NE(serial, nullptr);
  EXPECT_STRNE(serial, "");
  std::thread([serial] { EXPECT_STREQ(GetSerialNumber(), serial); }).join();
}

TEST(Tabulet, ConnectsExactlyWhenNetworkIsUp) {
  const bool connected = NetConnect(nullptr) == 0;
  EXPECT_EQ((QueryNetwork() & 0xF00) != 0, connected);
}

TEST(Tabulet, ShowsMessageWithoutWaiting) {
  const Stopwatch time;
  for (const int icon : {1, 2, 3, 4}) Message(icon, "@NoSuchKey", "Text", 60'000);
  EXPECT_LT(time.seconds(), 5);
}

TEST(Tabulet, FindsAndSavesBitmapsOrReturnsFallback) {
  const TemporaryDirectory directory;
  ibitmap_s* const logo = GetResource("browser_quire", nullptr);
  ASSERT_NE(logo, nullptr);
  EXPECT_EQ(GetResource("browser_quire", nullptr), logo);
  EXPECT_EQ(SaveBitmap((directory / "logo.bmp").c_str(), logo), 1);
  EXPECT_EQ(ReadAll(directory / "logo.bmp").substr(0, 2), "BM");

  EXPECT_EQ(GetResource("no such bitmap", nullptr), nullptr);
  EXPECT_EQ(GetResource("no such bitmap", logo), logo);
  EXPECT_EQ(GetResource("../resources/browser_quire", nullptr), nullptr);
  EXPECT_EQ(SaveBitmap((directory / "null.bmp").c_str(), nullptr), 0);
  EXPECT_EQ(SaveBitmap((directory / "missing/logo.bmp").c_str(), logo), 0);
  EXPECT_EQ(directory.Names(), std::set<std::string>{"logo.bmp"});
}

TEST(Tabulet, LogsLongRecordsAndKeepsErrno) {
  errno = ENOSPC;
  sm_print_log2(5, "source", 1, "function", "%s", std::string(100'000, 'x').c_str());
  EXPECT_EQ(errno, ENOSPC);
}

TEST(Tabulet, DeletesFilesButNotDirectories) {
  const TemporaryDirectory directory;
  WriteAll(directory / "book.epub", "x");
  EXPECT_EQ(tb_unlink((directory / "book.epub").c_str()), 0);
  EXPECT_TRUE(directory.Names().empty());
  EXPECT_EQ(tb_unlink(directory.path().c_str()), -1);
  EXPECT_TRUE(fs::exists(directory.path()));
}

TEST(Tabulet, ListsFileTypesInLowerCase) {
  const tb_file_type* type = GetSupportedFileTypes();
  EXPECT_NE(type->extension, nullptr) << "a device that opens nothing";
  for (; type->extension; ++type) {
    const std::string extension = type->extension;
    EXPECT_NE(extension.front(), '.');
    EXPECT_EQ(extension.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), std::string::npos);
    EXPECT_NE(type->description, nullptr);
  }
}

TEST(BookStoreAuthConfigs, LogsOutWithoutRecord) {
  EXPECT_NO_THROW(saltmoor::utilities::BookStoreAuthConfigs::logOut());
}

}  // namespace
