#include "on_device.h"

namespace tests {
namespace {

const std::string kWanted = "9780000001351", kSecond = "9780000001917";
const std::string kOutOfSale = "9780000001429";

class Purchase : public OnDevice {
 protected:
  void SetUp() override {
    shop_.Control("/_orders", {{"pending_checks", 0}});
    OnDevice::SetUp();
    LogIn();
    manager_.AddToCart(BookOf(kWanted));
  }

  // The browser program's user.
  static void Answers(const char* answer) { setenv("QUIRE_BROWSER_ANSWER", answer, 1); }

  void AnswerWithGarbage(const std::string& path) {
    const std::string garbage = R"({"error":[[]],"response":[1,{"url":{}}]})";
    shop_.Arm({{"path", path}, {"fault", "body"}, {"body", garbage}});
  }

  int Pay(const std::string& pay_method) { return manager_.StartPayment(pay_method).code_; }
  int Check() { return manager_.CheckPaymentResult().code_; }
};

TEST_F(Purchase, ByEachPayMethodTheBookIsBoughtOnceAndCanBeDownloaded) {
  Answers("approve");
  manager_.AddToCart(BookOf(kOutOfSale));
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

  manager_.AddToCart(BookOf(kSecond));
  manager_.CheckOut();
  ASSERT_EQ(Pay("CCARD"), ServerApi::kOk);
  ASSERT_EQ(Check(), ServerApi::kOk);
  EXPECT_TRUE(HasBought(kSecond));
  EXPECT_EQ(shop_.Requests("/submitOrder").size(), 2u);

  EXPECT_EQ(Download(kWanted).status, BookStatus::kDownloaded);
}

TEST_F(Purchase, WithoutApprovalNothingIsSubmittedAndCartAndOrderStay) {
  for (const char* const answer : {"cancel", "close", "crash"}) {
    Answers(answer);
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

TEST_F(Purchase, WithoutABrowserTheOrderStaysPendingAndUnpaid) {
  manager_.CheckOut();
  ASSERT_EQ(std::rename("/ebrmain/bin/browser.app", "/ebrmain/bin/browser.gone"), 0);
  EXPECT_EQ(Pay("PAYPAL"), ServerApi::kFailed);
  EXPECT_EQ(manager_.GetCart().GetSize(), 1u);
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), 0);
}

TEST_F(Purchase, GarbageAtEachStepLosesNoMoneyAndNoOrder) {
  Answers("approve");
  manager_.CheckOut();
  ASSERT_EQ(manager_.GetCart().GetSize(), 1u);

  AnswerWithGarbage("/commitOrderForPayment");  // no refusal, but no page to pay on
  EXPECT_EQ(Pay("CCARD"), ServerApi::kFailed);
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), -1);  // the shop, which heard nothing, is asked
  EXPECT_EQ(shop_.Requests("/checkOrder").size(), 1u);

  ASSERT_EQ(Pay("CCARD"), ServerApi::kOk);
  AnswerWithGarbage("/checkOrder");  // no state is a failure
  EXPECT_EQ(Check(), ServerApi::kFailed);
  EXPECT_EQ(manager_.GetCart().GetSize(), 1u);
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), 0);
  EXPECT_TRUE(shop_.Requests("/submitOrder").empty());

  ASSERT_EQ(Check(), ServerApi::kOk);
  EXPECT_TRUE(HasBought(kWanted));

  // A cart that comes back as garbage is an empty one, with every book dropped.
  manager_.AddToCart(BookOf(kSecond));
  AnswerWithGarbage("/getCart");
  EXPECT_EQ(std::get<1>(manager_.CheckOut()).size(), 1u);
  EXPECT_EQ(manager_.GetCart().GetSize(), 0u);
}

}  // namespace
}  // namespace tests
