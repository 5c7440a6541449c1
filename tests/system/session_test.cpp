#include <SQLiteCpp/SQLiteCpp.h>

#include "device_with_shop.h"

namespace tests {
namespace {

bool IsInScannerLibrary(const std::string& path) try {
  const SQLite::Database library("/mnt/ext1/system/library.sqlite");
  SQLite::Statement query(library, "SELECT 1 FROM books WHERE path = ?");
  query.bind(1, path);
  return query.executeStep();
} catch (const SQLite::Exception&) {
  return false;  // the scanner has not created it yet, or writes it
}

class SessionUnderLauncher : public DeviceWithShop {};
class Purchase : public DeviceWithShop {};

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

TEST_F(Purchase, BuysBookOnceByEachPayMethod) {
  setenv("QUIRE_BROWSER_ANSWER", "approve", 1);
  shop_.Control("/_orders", {{"pending_checks", 0}});  // payments are confirmed at once
  LogIn();
  const std::string wanted = "9780000001351", second = "9780000001917";
  const std::string out_of_sale = "9780000001429";
  manager_.AddToCart(MakeBook(wanted));
  manager_.AddToCart(MakeBook(out_of_sale));
  const auto [result, dropped] = manager_.CheckOut();
  EXPECT_EQ(result.code_, ServerApi::kOk);
  ASSERT_EQ(dropped.size(), 1u);
  EXPECT_EQ(Ean(dropped[0]), out_of_sale);
  EXPECT_EQ(manager_.GetCart().GetSize(), 1u);
  EXPECT_EQ(manager_.GetCart().GetTotalPrice(), 12.5);

  ASSERT_EQ(manager_.StartPayment("PAYPAL").code_, ServerApi::kOk);
  ASSERT_EQ(manager_.CheckPaymentResult().code_, ServerApi::kOk);
  EXPECT_TRUE(HasBought(wanted));
  EXPECT_EQ(manager_.GetCart().GetSize(), 0u);
  EXPECT_FALSE(manager_.GetOrderDatePlaced().empty());
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), -1);

  manager_.AddToCart(MakeBook(second));
  manager_.CheckOut();
  ASSERT_EQ(manager_.StartPayment("CCARD").code_, ServerApi::kOk);
  ASSERT_EQ(manager_.CheckPaymentResult().code_, ServerApi::kOk);
  EXPECT_TRUE(HasBought(second));
  EXPECT_EQ(shop_.Requests("/submitOrder").size(), 2u);

  EXPECT_EQ(Download(wanted).status, BookStatus::kDownloaded);
}

}  // namespace
}  // namespace tests
