#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>

#include "book_files.h"
#include "on_device.h"
#include "support/development_shop.h"

namespace {

using namespace on_device;
using namespace saltmoor::quire;

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

TEST(SessionThroughLauncher, FromStartToABookThatTheScannerKnows) {
  tests::DevelopmentShop shop;
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);
  EXPECT_FALSE(manager.GetShopName().empty());
  EXPECT_FALSE(manager.IsLoggedIn());

  const auto refused = manager.LogIn(kUser, "wrong");
  EXPECT_EQ(refused.code_, ServerApi::kFailed);
  EXPECT_FALSE(refused.message_.empty());
  ASSERT_EQ(manager.LogIn(kUser, kPassword).code_, ServerApi::kOk);
  EXPECT_TRUE(manager.IsLoggedIn());

  const Book book = Bought(manager, "epub");
  EXPECT_EQ(manager.AddToCart(book).code_, ServerApi::kOk);
  EXPECT_EQ(manager.GetBookStatus(Ean(book)).status, BookStatus::kInCart);
  manager.RemoveFromCart(book);
  EXPECT_EQ(manager.GetBookStatus(Ean(book)).status, BookStatus::kPurchased);

  manager.DownloadBookById("catalogue/items/" + Ean(book));
  ASSERT_TRUE(FinishDownload(manager));
  const BookStatus status = manager.GetBookStatus(Ean(book));
  ASSERT_EQ(status.status, BookStatus::kDownloaded);
  EXPECT_EQ(Content(status.path).substr(0, 2), "PK");
  EXPECT_TRUE(Wait([&] { return CountInScannerLibrary(status.path) == 1; }));
}

TEST(Session, StoredCredentialsOpenTheNextOne) {
  tests::DevelopmentShop shop;
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);
  ASSERT_EQ(manager.LogIn(kUser, kPassword).code_, ServerApi::kOk);
  EXPECT_EQ(manager.getLogin(), kUser);
  EXPECT_EQ(manager.getPassword(), kPassword);

  manager.LogOut();
  EXPECT_FALSE(manager.IsLoggedIn());
  EXPECT_TRUE(manager.GetPurchased().empty());
  ASSERT_EQ(manager.Init(), 0);
  EXPECT_TRUE(manager.IsLoggedIn());
  EXPECT_FALSE(manager.GetPurchased().empty());
  // Within half an hour of the first start the configuration is asked for once.
  EXPECT_EQ(shop.Requests("/get-device-opds-config").size(), 1u);
}

TEST(Session, ANewCustomerRegistersAndIsLoggedInAtTheNextStart) {
  tests::DevelopmentShop shop;
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);
  EXPECT_EQ(manager.Register(kUser, "long enough", "A", "B", "").code_, ServerApi::kFailed);
  const auto registered = manager.Register("new@quire.example", "long enough", "Nora", "Neu", "Ms");
  ASSERT_EQ(registered.code_, ServerApi::kOk) << registered.message_;
  EXPECT_FALSE(registered.message_.empty());
  EXPECT_FALSE(manager.IsLoggedIn());
  ASSERT_EQ(manager.Init(), 0);
  EXPECT_TRUE(manager.IsLoggedIn());
  const auto [result, profile] = manager.GetUserData();
  EXPECT_EQ(result.code_, ServerApi::kOk);
  EXPECT_EQ(profile[UserData::kEmail], "new@quire.example");
}

TEST(Session, SecretsStandInNoLogAndInNoFileInClear) {
  setenv("TABULET_LOG", "/tmp/everything.log", 1);
  setenv("TABULET_LOG_LEVEL", "9", 1);
  constexpr char kDistinctPassword[] = "Unm1stakable-Pa55";
  tests::DevelopmentShop shop;
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);
  ASSERT_EQ(manager.Register("log@quire.example", kDistinctPassword, "A", "B", "").code_,
            ServerApi::kOk);
  ASSERT_EQ(manager.Init(), 0);
  ASSERT_TRUE(manager.IsLoggedIn());
  Json::Value fault;  // a failure has the platform explain itself
  fault["path"] = "/login";
  fault["fault"] = "reset";
  shop.Arm(fault);
  EXPECT_EQ(manager.LogIn("log@quire.example", kDistinctPassword).code_, ServerApi::kFailed);

  const std::string log = Content("/tmp/everything.log");
  const std::string config = Content("/mnt/ext1/system/config/quire_config.cfg");
  ASSERT_NE(log.find("0 == err"), std::string::npos);
  EXPECT_EQ(log.find(kDistinctPassword), std::string::npos);
  EXPECT_EQ(config.find(kDistinctPassword), std::string::npos);

  // The session id, as the shop heard it.
  std::string session;
  for (const Json::Value& request : shop.Requests("/getUserEbook")) {
    for (const Json::Value& field : request["form"]) {
      if (field[0].asString() == "opdsSessionId") session = field[1].asString();
    }
  }
  ASSERT_FALSE(session.empty());
  EXPECT_EQ(log.find(session), std::string::npos);
}

}  // namespace
