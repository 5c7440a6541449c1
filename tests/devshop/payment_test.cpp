#include <ctime>

#include "devshop/running_shop.h"

namespace tests {
namespace {

Fields GoodCard() {
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

class DevshopPayment : public RunningShop {
 protected:
  void SetUp() override {
    Start();
    session_ = LogIn();
  }
  void CommitOrder(const Fields& payment) {
    std::tie(order_, page_) = Commit(session_, {"9004", "9007"}, payment);
  }
  Fields Ids() const { return {{"opdsSessionId", session_}, {"orderId", order_}}; }
  std::string Check() { return Call("/checkOrder", Ids())["response"]["paymentStatus"]; }
  Json Submit() { return Call("/submitOrder", Ids()); }
  httplib::Response Pay(const Fields& fields) { return Post(page_, fields); }
  std::size_t BoughtBooks() {
    return Call("/getUserEbook", {{"opdsSessionId", session_}})["response"].size();
  }

  std::string session_, order_, page_;
};

TEST_F(DevshopPayment, AddsBooksAfterCardPayment) {
  CommitOrder(kByCard);
  EXPECT_EQ(Submit()["error"], "true") << "not paid yet";
  const std::string page = Get(page_).body;
  EXPECT_NE(page.find("Pay 12,98 EUR"), std::string::npos) << page;
  EXPECT_NE(page.find("Töpfern &amp; &quot;Ton&quot; &lt;7&gt;"), std::string::npos) << page;

  const auto paid = Pay(GoodCard());
  EXPECT_EQ(paid.status, 303);
  EXPECT_EQ(paid.get_header_value("Location"), kByCard[1].second);
  EXPECT_EQ(Check(), "Pending");
  EXPECT_EQ(Check(), "Pending");
  EXPECT_EQ(Check(), "Success");

  const Json placed = Submit()["response"];
  EXPECT_EQ(placed["order"]["orderDatePlaced"].get<std::string>().size(), 19u);
  ASSERT_EQ(placed["positions"].size(), 2u);
  EXPECT_FALSE(placed["positions"][0]["orderItemEbookLink"].empty());
  EXPECT_EQ(BoughtBooks(), 4u);
  EXPECT_EQ(Submit()["response"], placed) << "an order is placed once";
  EXPECT_EQ(BoughtBooks(), 4u);
}

TEST_F(DevshopPayment, AllowsRetryAfterCancellation) {
  CommitOrder(kByCard);
  EXPECT_EQ(Pay({{"decision", "cancel"}}).get_header_value("Location"), kByCard[2].second);
  EXPECT_EQ(Check(), "Failure");
  EXPECT_EQ(Submit()["error"], "true");
  const std::string old_page = page_, old_order = order_;
  CommitOrder(kByWallet);
  EXPECT_EQ(order_, old_order);
  EXPECT_EQ(Get(old_page).status, 404);
  EXPECT_EQ(Pay({{"decision", "perhaps"}}).status, 422);
  for (const char* decision : {"approve", "cancel"}) {  // what is paid stays paid
    EXPECT_EQ(Pay({{"decision", decision}}).get_header_value("Location"),
              "https://shop.quire.example/QUIRESaltmoor?status=success");
  }
  EXPECT_EQ(Get("/QUIRESaltmoor?status=success").status, 200);
  EXPECT_EQ(Submit()["error"], "false");
}

TEST_F(DevshopPayment, FollowsControlPortInCheckOrder) {
  CommitOrder(kByWallet);
  shop_->Control("/_orders", {{"pending_checks", 0}, {"next_status", "Failure"}});
  EXPECT_EQ(Check(), "Failure");
  EXPECT_EQ(Check(), "In Progress") << "nobody has decided";
  Pay({{"decision", "approve"}});
  EXPECT_EQ(Check(), "Success");
  shop_->Control("/_orders", {{"next_status", "Success"}}, 400);
  shop_->Control("/_orders", {{"pending_checks", "2"}}, 400);
  shop_->Control("/_orders", {{"pending", 2}}, 400);
}

TEST_F(DevshopPayment, RefusesIncompleteOrder) {
  const auto refusal = [&](const Fields& fields) {
    return Refusal("/commitOrderForPayment", Ids() + fields);
  };
  order_ = Call("/addToCart", {{"opdsSessionId", session_}})["response"]["orderId"];
  EXPECT_NE(refusal(kByCard), "") << "empty";
  Call("/addToCart", CartForm(session_, {{"9004", "1"}}));
  const Fields cancel = {kByCard[0], kByCard[2]};
  const Fields rows[] = {{},
                         {{"paymethod", "CCARD"}},
                         cancel + Fields{{"success_url", "javascript:alert(1)"}},
                         cancel + Fields{{"success_url", "http://a/" + std::string(100'000, 'a')}}};
  for (const Fields& fields : rows) EXPECT_NE(refusal(fields), "");
  EXPECT_NE(Refusal("/checkOrder", Ids()), "");
  EXPECT_EQ(refusal(kByCard), "");
}

TEST_F(DevshopPayment, ReportsCardErrorsBesideTheirFields) {
  CommitOrder(kByCard);
  const auto ExpectError = [&](const std::string& name, const std::string& value) {
    Fields fields = GoodCard();
    for (auto& field : fields) {
      if (field.first == name) field.second = value;
    }
    const auto page = Pay(fields);
    EXPECT_EQ(page.status, 422) << name << " " << value;
    for (const auto& [other, typed] : fields) {
      EXPECT_EQ(page.body.find("id=\"" + other + "_error\"") != std::string::npos, other == name)
          << name << "=" << value << " reported at " << other;
    }
    return page.body;
  };
  const std::string blanks(60'000, ' '), digits(60'000, '1');
  const std::pair<const char*, std::vector<std::string>> rows[] = {
      {"card_number", {"", "4111111111111112", "41111111112", "4111x11111111111"}},
      {"card_expiry", {"", "13/99", "00/99", "1299", "01/20", "12/2020", blanks, digits + "/99"}},
      {"card_cvc", {"", "12", "12a", "12345"}},
      {"card_holder", {"  "}}};
  for (const auto& [name, values] : rows) {
    for (const std::string& value : values) ExpectError(name, value);
  }

  const std::string page = ExpectError("card_number", "\"><script>alert(1)</script>");
  EXPECT_EQ(page.find("<script>"), std::string::npos);
  EXPECT_NE(page.find("value=\"Anna Möller\""), std::string::npos) << "what was typed is kept";
  EXPECT_EQ(page.find("value=\"123\""), std::string::npos) << "but the CVC";
  EXPECT_EQ(Check(), "Pending");

  Fields this_month = GoodCard();
  const std::time_t now = std::time(nullptr);
  char text[8];
  std::strftime(text, sizeof text, "%m/%Y", std::gmtime(&now));
  this_month[2].second = text;
  EXPECT_EQ(Pay(this_month).status, 303) << "good to the end of its month";
}

}  // namespace
}  // namespace tests
