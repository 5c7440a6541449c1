#include <sqlite3.h>

#include "on_device.h"

namespace tests {
namespace {

using saltmoor::quire::UserData;

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

class Session : public OnDevice {};
class SessionThroughLauncher : public OnDevice {};

TEST_F(SessionThroughLauncher, FromStartToABookThatTheScannerKnows) {
  EXPECT_FALSE(manager_.GetShopName().empty());
  EXPECT_FALSE(manager_.IsLoggedIn());

  const auto refused = manager_.LogIn(kUser, "wrong");
  EXPECT_EQ(refused.code_, ServerApi::kFailed);
  EXPECT_FALSE(refused.message_.empty());
  LogIn();
  EXPECT_TRUE(manager_.IsLoggedIn());

  const Book book = Bought("epub");
  EXPECT_EQ(manager_.AddToCart(book).code_, ServerApi::kOk);
  EXPECT_EQ(manager_.GetBookStatus(Ean(book)).status, BookStatus::kInCart);
  manager_.RemoveFromCart(book);
  EXPECT_EQ(manager_.GetBookStatus(Ean(book)).status, BookStatus::kPurchased);

  const BookStatus status = Download("catalogue/items/" + Ean(book));
  ASSERT_EQ(status.status, BookStatus::kDownloaded);
  EXPECT_EQ(ReadFile(status.path).substr(0, 2), "PK");
  EXPECT_TRUE(Wait([&] { return CountInScannerLibrary(status.path) == 1; }));
}

TEST_F(Session, StoredCredentialsOpenTheNextOne) {
  LogIn();
  EXPECT_EQ(manager_.getLogin(), kUser);
  EXPECT_EQ(manager_.getPassword(), kPassword);

  manager_.LogOut();
  EXPECT_FALSE(manager_.IsLoggedIn());
  EXPECT_TRUE(manager_.GetPurchased().empty());
  ASSERT_EQ(manager_.Init(), 0);
  EXPECT_TRUE(manager_.IsLoggedIn());
  EXPECT_FALSE(manager_.GetPurchased().empty());
  // Within half an hour of the first start the configuration is asked for once.
  EXPECT_EQ(shop_.Requests("/get-device-opds-config").size(), 1u);
}

TEST_F(Session, ANewCustomerRegistersAndIsLoggedInAtTheNextStart) {
  EXPECT_EQ(manager_.Register(kUser, "long enough", "A", "B", "").code_, ServerApi::kFailed);
  const auto registered =
      manager_.Register("new@quire.example", "long enough", "Nora", "Neu", "Ms");
  ASSERT_EQ(registered.code_, ServerApi::kOk) << registered.message_;
  EXPECT_FALSE(registered.message_.empty());
  EXPECT_FALSE(manager_.IsLoggedIn());
  ASSERT_EQ(manager_.Init(), 0);
  EXPECT_TRUE(manager_.IsLoggedIn());
  const auto [result, profile] = manager_.GetUserData();
  EXPECT_EQ(result.code_, ServerApi::kOk);
  EXPECT_EQ(profile[UserData::kEmail], "new@quire.example");
}

/// The platform reads at its first use what it is to log.
class Secrets : public OnDevice {
 protected:
  void SetUp() override {
    setenv("TABULET_LOG", "/tmp/everything.log", 1);
    setenv("TABULET_LOG_LEVEL", "5", 1);
    OnDevice::SetUp();
  }
};

TEST_F(Secrets, StandInNoLogAndInNoFileInClear) {
  const std::string user = "log@quire.example", password = "Unm1stakable-Pa55";
  ASSERT_EQ(manager_.Register(user, password, "A", "B", "").code_, ServerApi::kOk);
  ASSERT_EQ(manager_.Init(), 0);
  ASSERT_TRUE(manager_.IsLoggedIn());
  shop_.Arm({{"path", "/login"}, {"fault", "reset"}});  // has the platform explain itself
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

}  // namespace
}  // namespace tests
