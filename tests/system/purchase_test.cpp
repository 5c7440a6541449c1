#include "device_with_shop.h"

namespace tests {
namespace {

const std::string kWanted = "9780000001351", kSecond = "9780000001917";
const std::string kOutOfSale = "9780000001429";

/// A logged-in customer with one book in the cart, at a shop that confirms payments at once.
class Purchase : public DeviceWithShop {
 protected:
  void SetUp() override {
    shop_.Control("/_orders", {{"pending_checks", 0}});
    DeviceWithShop::SetUp();
    LogIn();
    manager_.AddToCart(MakeBook(kWanted));
  }

  static void SetBrowserAnswer(const char* answer) { setenv("QUIRE_BROWSER_ANSWER", answer, 1); }

  int Pay(const std::string& pay_method) { return manager_.StartPayment(pay_method).code_; }
  int Check() { return manager_.CheckPaymentResult().code_; }
};

TEST_F(Purchase, BuysBookOnceByEachPayMethod) {
  SetBrowserAnswer("approve");
  manager_.AddToCart(MakeBook(kOutOfSale));
  const auto [result, dropped] = manager_.CheckOut();
  EXPECT_EQ(result.code_, ServerApi::kOk);
  ASSERT_EQ(dropped.size(), 1u);
  EXPECT_EQ(Ean(dropped[0]), kOutOfSale);
  EXPECT_EQ(manager_.GetCart().GetSize(), 1u);
  EXPECT_EQ(manager_.GetCart().GetTotalPrice(), 12.5);

  ASSERT_EQ(Pay("PAYPAL"), ServerApi::kOk);
  ASSERT_EQ(Check(), ServerApi::kOk);
  EXPECT_TRUE(HasBought(kWanted));
  EXPECT_EQ(manager_.GetCart().GetSize(), 0u);
  EXPECT_FALSE(manager_.GetOrderDatePlaced().empty());
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), -1);

  manager_.AddToCart(MakeBook(kSecond));
  manager_.CheckOut();
  ASSERT_EQ(Pay("CCARD"), ServerApi::kOk);
  ASSERT_EQ(Check(), ServerApi::kOk);
  EXPECT_TRUE(HasBought(kSecond));
  EXPECT_EQ(shop_.Requests("/submitOrder").size(), 2u);

  EXPECT_EQ(Download(kWanted).status, BookStatus::kDownloaded);
}

TEST_F(Purchase, KeepsCartAndOrderWithoutApproval) {
  for (const char* const answer : {"cancel", "close", "crash"}) {
    SetBrowserAnswer(answer);
    manager_.CheckOut();
    EXPECT_EQ(Pay("CCARD"), ServerApi::kOk) << answer;
    const auto result = manager_.CheckPaymentResult();
    EXPECT_EQ(result.code_, ServerApi::kFailed) << answer;
    EXPECT_TRUE(result.message_.empty()) << answer;
    EXPECT_EQ(manager_.GetCart().GetSize(), 1u) << answer;
    EXPECT_FALSE(HasBought(kWanted)) << answer;
    EXPECT_EQ(manager_.CheckOrderIfNeeded(), 0) << answer;  // the order is still pending
  }
  EXPECT_TRUE(shop_.Requests("/submitOrder").empty());
}

}  // namespace
}  // namespace tests
