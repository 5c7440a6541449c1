#include <sqlite3.h>

#include "device_with_shop.h"

namespace tests {
namespace {

int CountInScannerLibrary(const std::string& path) {
  sqlite3* raw = nullptr;
  int count = -1;
  if (sqlite3_open_v2("/mnt/ext1/system/library.sqlite", &raw, SQLITE_OPEN_READONLY, nullptr) ==
      SQLITE_OK) {
    sqlite3_stmt* query = nullptr;
    sqlite3_prepare_v2(raw, "SELECT count(*) FROM books WHERE path = ?", -1, &query, nullptr);
    sqlite3_bind_text(query, 1, path.c_str(), -1, SQLITE_TRANSIENT);
    if (sqlite3_step(query) == SQLITE_ROW) count = sqlite3_column_int(query, 0);
    sqlite3_finalize(query);
  }
  sqlite3_close(raw);
  return count;
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
  EXPECT_TRUE(WaitUntil([&] { return CountInScannerLibrary(status.path) == 1; }));
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
