#include <ctime>

#include "devshop/shop_under_test.h"

namespace tests {
namespace {

Fields good_card() {
  return {{"card_holder", "Anna Möller"},
          {"card_number", "4111 1111-1111 1111"},
          {"card_expiry", "12/99"},
          {"card_cvc", "123"},
          {"decision", "approve"}};
}

const Fields kByCard{{"paymethod", "CCARD"},
                     {"success_url", "http://www.saltmoor.example/QUIRESaltmoor?status=success"},
                     {"cancel_url", "http://www.saltmoor.example/QUIRESaltmoor?status=cancel"}};
const Fields kByWallet{{"paymethod", "PAYPAL"}};

class Payment : public ShopUnderTest {
 protected:
  void SetUp() override {
    start();
    session_ = log_in();
  }
  void commit_order(const Fields& payment) {
    std::tie(order_, page_) = commit(session_, {"9004", "9007"}, payment);
  }
  Fields ids() const { return {{"opdsSessionId", session_}, {"orderId", order_}}; }
  std::string check() { return call("/checkOrder", ids())["response"]["paymentStatus"]; }
  Json submit() { return call("/submitOrder", ids()); }
  httplib::Response post(const Fields& fields) {
    return *shop_client().Post(page_, encode(fields), "application/x-www-form-urlencoded");
  }
  std::size_t bought() {
    return call("/getUserEbook", {{"opdsSessionId", session_}})["response"].size();
  }

  std::string session_, order_, page_;
};

TEST_F(Payment, ByCardFromThePageToTheBoughtBooks) {
  commit_order(kByCard);
  EXPECT_EQ(submit()["error"], "true") << "not paid yet";
  const std::string page = get(page_).body;
  EXPECT_NE(page.find("Pay 12,98 EUR"), std::string::npos) << page;
  EXPECT_NE(page.find("Töpfern &amp; &quot;Ton&quot; &lt;7&gt;"), std::string::npos) << page;

  const auto paid = post(good_card());
  EXPECT_EQ(paid.status, 303);
  EXPECT_EQ(paid.get_header_value("Location"), kByCard[1].second);
  EXPECT_EQ(check(), "Pending");
  EXPECT_EQ(check(), "Pending");
  EXPECT_EQ(check(), "Success");

  const Json placed = submit()["response"];
  std::tm time{};
  const std::string date = placed["order"]["orderDatePlaced"];
  EXPECT_EQ(*strptime(date.c_str(), "%Y-%m-%d %H:%M:%S", &time), '\0') << date;
  ASSERT_EQ(placed["positions"].size(), 2u);
  EXPECT_FALSE(placed["positions"][0]["orderItemEbookLink"].empty());
  EXPECT_EQ(bought(), 4u);
  EXPECT_EQ(submit()["response"], placed) << "an order is placed once";
  EXPECT_EQ(bought(), 4u);
}

TEST_F(Payment, ByWalletReturnsToTheShop) {
  commit_order(kByWallet);
  EXPECT_EQ(post({{"decision", "perhaps"}}).status, 422);
  EXPECT_EQ(post({{"decision", "approve"}}).get_header_value("Location"),
            "https://shop.quire.example/QUIRESaltmoor?status=success");
  EXPECT_EQ(get("/QUIRESaltmoor?status=success").status, 200);
  EXPECT_EQ(post({{"decision", "cancel"}}).get_header_value("Location"),
            "https://shop.quire.example/QUIRESaltmoor?status=success")
      << "what is paid stays paid";
}

TEST_F(Payment, CancelledFailsAtOnceAndCanBeTriedAgain) {
  commit_order(kByCard);
  EXPECT_EQ(post({{"decision", "cancel"}}).get_header_value("Location"), kByCard[2].second);
  EXPECT_EQ(check(), "Failure");
  EXPECT_EQ(submit()["error"], "true");
  const std::string old_page = page_, old_order = order_;
  commit_order(kByWallet);
  EXPECT_EQ(order_, old_order);
  EXPECT_EQ(get(old_page).status, 404);
  EXPECT_EQ(post({{"decision", "approve"}}).status, 303);
  EXPECT_EQ(submit()["error"], "false");
}

TEST_F(Payment, StatesComeAsTheControlPortAsks) {
  commit_order(kByWallet);
  shop_->Control("/_orders", {{"pending_checks", 0}, {"next_status", "Failure"}});
  EXPECT_EQ(check(), "Failure");
  EXPECT_EQ(check(), "In Progress") << "nobody has decided";
  post({{"decision", "approve"}});
  EXPECT_EQ(check(), "Success");
  shop_->Control("/_orders", {{"next_status", "Success"}}, 400);
  shop_->Control("/_orders", {{"pending_checks", "2"}}, 400);
  shop_->Control("/_orders", {{"pending", 2}}, 400);
}

TEST_F(Payment, WithoutAPageNeedsNoApproval) {
  commit_order({{"paymethod", "INVOICE"}});
  EXPECT_EQ(page_, "");
  EXPECT_EQ(submit()["error"], "false");
}

TEST_F(Payment, OrdersThatCannotBeCommitted) {
  const auto commit_refusal = [&](const Fields& fields) {
    return refusal("/commitOrderForPayment", ids() + fields);
  };
  order_ = call("/addToCart", {{"opdsSessionId", session_}})["response"]["orderId"];
  EXPECT_NE(commit_refusal(kByCard), "") << "empty";
  call("/addToCart", {{"opdsSessionId", session_}, {"ean_0", "9004"}, {"quantity_0", "1"}});
  EXPECT_NE(commit_refusal({}), "");
  EXPECT_NE(commit_refusal({{"paymethod", "CCARD"}}), "");
  const Fields no_address{{"success_url", "javascript:alert(1)"}};
  EXPECT_NE(commit_refusal(no_address + kByCard), "");
  EXPECT_NE(refusal("/checkOrder", ids()), "");
  EXPECT_EQ(commit_refusal(kByCard), "");
}

TEST_F(Payment, TheCardFormSaysWhatIsWrongBesideTheField) {
  commit_order(kByCard);
  const auto expect_wrong = [&](const std::string& name, const std::string& value) {
    Fields fields = good_card();
    for (auto& field : fields) {
      if (field.first == name) field.second = value;
    }
    const auto page = post(fields);
    EXPECT_EQ(page.status, 422) << name << " " << value;
    for (const auto& [other, typed] : fields) {
      EXPECT_EQ(page.body.find("id=\"" + other + "_wrong\"") != std::string::npos, other == name)
          << name << "=" << value << " told at " << other;
    }
    return page.body;
  };
  for (const char* number : {"", "4111111111111112", "41111111112", "4111x11111111111"}) {
    expect_wrong("card_number", number);
  }
  for (const char* expiry : {"", "13/99", "00/99", "1299", "01/20", "12/2020"}) {
    expect_wrong("card_expiry", expiry);
  }
  for (const char* cvc : {"", "12", "12a", "12345"}) expect_wrong("card_cvc", cvc);
  expect_wrong("card_holder", "  ");

  const std::string page = expect_wrong("card_number", "\"><script>alert(1)</script>");
  EXPECT_EQ(page.find("<script>"), std::string::npos);
  EXPECT_NE(page.find("value=\"Anna Möller\""), std::string::npos) << "what was typed is kept";
  EXPECT_EQ(page.find("value=\"123\""), std::string::npos) << "but the CVC";
  EXPECT_EQ(check(), "Pending");

  Fields this_month = good_card();
  const std::time_t now = std::time(nullptr);
  char text[8];
  std::strftime(text, sizeof text, "%m/%Y", std::gmtime(&now));
  this_month[2].second = text;
  EXPECT_EQ(post(this_month).status, 303) << "good to the end of its month";
}

}  // namespace
}  // namespace tests
