#include <gtest/gtest.h>

#include <algorithm>

#include "on_device.h"
#include "support/development_shop.h"

namespace {

using namespace on_device;
using namespace saltmoor::quire;

constexpr char kWanted[] = "9780000001351";
constexpr char kOutOfSale[] = "9780000001429";

Book BookOf(const char* ean) {
  Book book;
  book.string_props[Book::kEan] = ean;
  return book;
}

class Purchase : public ::testing::Test {
 protected:
  void SetUp() override {
    Json::Value orders;
    orders["pending_checks"] = 0;
    shop_.Control("/_orders", orders);
    ASSERT_EQ(manager_.Init(), 0);
    ASSERT_EQ(manager_.LogIn(kUser, kPassword).code_, ServerApi::kOk);
    manager_.AddToCart(BookOf(kWanted));
  }

  // The browser program's user.
  static void Answers(const char* answer) { setenv("QUIRE_BROWSER_ANSWER", answer, 1); }

  void AnswerOnce(const std::string& path, const std::string& body) {
    Json::Value fault;
    fault["path"] = path;
    fault["fault"] = "body";
    fault["times"] = 1;
    fault["body"] = body;
    shop_.Arm(fault);
  }

  bool HasBought(const std::string& ean) const {
    const auto& books = manager_.GetPurchased();
    return std::any_of(books.begin(), books.end(),
                       [&](const Book& book) { return Ean(book) == ean; });
  }

  tests::DevelopmentShop shop_;
  StoreManager& manager_ = StoreManager::Instance();
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

  ASSERT_EQ(manager_.StartPayment("PAYPAL").code_, ServerApi::kOk);
  ASSERT_EQ(manager_.CheckPaymentResult().code_, ServerApi::kOk);
  EXPECT_TRUE(HasBought(kWanted));
  EXPECT_EQ(manager_.GetCart().GetSize(), 0u);
  EXPECT_FALSE(manager_.GetOrderDatePlaced().empty());
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), -1);

  manager_.AddToCart(BookOf("9780000001917"));
  manager_.CheckOut();
  ASSERT_EQ(manager_.StartPayment("CCARD").code_, ServerApi::kOk);
  ASSERT_EQ(manager_.CheckPaymentResult().code_, ServerApi::kOk);
  EXPECT_TRUE(HasBought("9780000001917"));
  EXPECT_EQ(shop_.Requests("/submitOrder").size(), 2u);

  manager_.DownloadBookById(kWanted);
  ASSERT_TRUE(FinishDownload(manager_));
  EXPECT_EQ(manager_.GetBookStatus(kWanted).status, BookStatus::kDownloaded);
}

TEST_F(Purchase, WithoutApprovalNothingIsSubmittedAndCartAndOrderStay) {
  for (const char* const answer : {"cancel", "close", "crash"}) {
    Answers(answer);
    manager_.CheckOut();
    const int started = manager_.StartPayment("CCARD").code_;
    EXPECT_EQ(started, ServerApi::kOk) << answer;
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
  EXPECT_EQ(manager_.StartPayment("PAYPAL").code_, ServerApi::kFailed);
  EXPECT_EQ(manager_.GetCart().GetSize(), 1u);
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), 0);
}

TEST_F(Purchase, GarbageAtEachStepLosesNoMoneyAndNoOrder) {
  const std::string garbage = R"({"error":[[]],"response":[1,{"url":{}}]})";
  Answers("approve");
  manager_.CheckOut();
  ASSERT_EQ(manager_.GetCart().GetSize(), 1u);

  AnswerOnce("/commitOrderForPayment", garbage);  // no refusal, but no page to pay on
  EXPECT_EQ(manager_.StartPayment("CCARD").code_, ServerApi::kFailed);
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), -1);  // the shop, which heard nothing, is asked
  EXPECT_EQ(shop_.Requests("/checkOrder").size(), 1u);

  ASSERT_EQ(manager_.StartPayment("CCARD").code_, ServerApi::kOk);
  AnswerOnce("/checkOrder", garbage);  // no state is a failure
  EXPECT_EQ(manager_.CheckPaymentResult().code_, ServerApi::kFailed);
  EXPECT_EQ(manager_.GetCart().GetSize(), 1u);
  EXPECT_EQ(manager_.CheckOrderIfNeeded(), 0);
  EXPECT_TRUE(shop_.Requests("/submitOrder").empty());

  ASSERT_EQ(manager_.CheckPaymentResult().code_, ServerApi::kOk);
  EXPECT_TRUE(HasBought(kWanted));

  // A cart that comes back as garbage is an empty one, with every book dropped.
  manager_.AddToCart(BookOf("9780000001917"));
  AnswerOnce("/getCart", garbage);
  EXPECT_EQ(std::get<1>(manager_.CheckOut()).size(), 1u);
  EXPECT_EQ(manager_.GetCart().GetSize(), 0u);
}

}  // namespace
