#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>

#include "device_with_shop.h"

namespace tests {
namespace {

bool IsInScannerLibrary(const std::string& path) try {
  const SQLite::Database library("/mnt/ext1/system/library.sqlite");
  SQLite::Statement query(library, "SELECT 1 FROM books WHERE path = ?");
  query.bind(1, path);
  return query.executeStep();
} catch (const SQLite::Exception&) {
  return false;  // the scanner has not made it yet, or writes it
}

class AccountSession : public DeviceWithShop {};
class SessionUnderLauncher : public DeviceWithShop {};

TEST_F(SessionUnderLauncher, DownloadsBookThatScannerRecords) {
  EXPECT_FALSE(manager_.GetShopName().empty());
  EXPECT_FALSE(manager_.IsLoggedIn());

  const auto refused = manager_.LogIn(kUser, "wrong");
  EXPECT_EQ(refused.code_, ServerApi::kFailed);
  EXPECT_FALSE(refused.message_.empty());
  LogIn();
  EXPECT_TRUE(manager_.IsLoggedIn());

  const Book book = FindPurchased("epub");
  EXPECT_EQ(manager_.AddToCart(book).code_, ServerApi::kOk);
  EXPECT_EQ(manager_.GetBookStatus(Ean(book)).status, BookStatus::kInCart);
  manager_.RemoveFromCart(book);
  EXPECT_EQ(manager_.GetBookStatus(Ean(book)).status, BookStatus::kPurchased);

  const BookStatus status = Download("catalogue/items/" + Ean(book));
  ASSERT_EQ(status.status, BookStatus::kDownloaded);
  EXPECT_EQ(ReadFile(status.path).substr(0, 2), "PK");
  EXPECT_TRUE(WaitUntil([&] { return IsInScannerLibrary(status.path); }));
}

TEST_F(AccountSession, LogsInWithStoredCredentials) {
  LogIn();
  EXPECT_EQ(manager_.getLogin(), kUser);
  EXPECT_EQ(manager_.getPassword(), kPassword);

  manager_.LogOut();
  EXPECT_FALSE(manager_.IsLoggedIn());
  EXPECT_TRUE(manager_.GetPurchased().empty());
  ASSERT_EQ(manager_.Init(), 0);
  EXPECT_TRUE(manager_.IsLoggedIn());
  EXPECT_FALSE(manager_.GetPurchased().empty());
  // The cached configuration is used for half an hour.
  EXPECT_EQ(shop_.Requests("/get-device-opds-config").size(), 1u);
}

TEST_F(AccountSession, ResumesDownloadAfterConnectionLoss) {
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

/// A device that logs everything to a file. The platform reads the settings at its first use.
class SecretHandling : public DeviceWithShop {
 protected:
  void SetUp() override {
    setenv("TABULET_LOG", "/tmp/everything.log", 1);
    setenv("TABULET_LOG_LEVEL", "5", 1);
    DeviceWithShop::SetUp();
  }
};

TEST_F(SecretHandling, LeavesNoSecretInLogOrFile) {
  const std::string user = "log@quire.example", password = "Unm1stakable-Pa55";
  ASSERT_EQ(manager_.Register(user, password, "A", "B", "").code_, ServerApi::kOk);
  ASSERT_EQ(manager_.Init(), 0);
  ASSERT_TRUE(manager_.IsLoggedIn());
  shop_.Arm({{"path", "/login"}, {"fault", "reset"}});  // the platform logs the reason
  EXPECT_EQ(manager_.LogIn(user, password).code_, ServerApi::kFailed);

  const std::string log = ReadFile("/tmp/everything.log");
  const std::string config = ReadFile("/mnt/ext1/system/config/quire_config.cfg");
  ASSERT_NE(log.find("0 == err"), std::string::npos);
  EXPECT_EQ(log.find(password), std::string::npos);
  EXPECT_EQ(config.find(password), std::string::npos);

  const Json form = shop_.Requests("/getUserEbook").back()["form"];
  ASSERT_EQ(form[0][0], "opdsSessionId");
  const std::string session = form[0][1];
  ASSERT_FALSE(session.empty());
  EXPECT_EQ(log.find(session), std::string::npos);
}

/// A shop whose certificate is wrong.
class WrongCertificate : public DeviceWithShop, public testing::WithParamInterface<const char*> {
 protected:
  WrongCertificate() : DeviceWithShop({"--certificate", GetParam()}) {}
};

TEST_P(WrongCertificate, PreventsLogIn) {
  EXPECT_EQ(manager_.LogIn(kUser, kPassword).code_, ServerApi::kFailed);
  EXPECT_TRUE(shop_.Requests("/login").empty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, WrongCertificate,
                         testing::Values("other-host", "expired", "unknown-authority"),
                         [](const auto& kind) {
                           std::string name = kind.param;
                           std::erase(name, '-');
                           return name;
                         });

}  // namespace
}  // namespace tests
