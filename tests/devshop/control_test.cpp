#include "devshop/running_shop.h"

namespace tests {
namespace {

class DevshopControl : public RunningShop {
 protected:
  int Status(const std::string& host, const std::string& authorization) const {
    const httplib::Headers headers{{"Host", host}, {"Authorization", authorization}};
    return httplib::Client(shop_->Address("control")).Get("/_requests", headers)->status;
  }
};

TEST_F(DevshopControl, AnswersOnlyOwnHostAndToken) {
  const std::string own = shop_->Address("control").substr(7), token = shop_->Address("token");
  const std::string port = own.substr(own.find(':')), bearer = "Bearer " + token;
  EXPECT_GE(token.size(), 32u);
  EXPECT_EQ(Status(own, bearer), 200);
  EXPECT_EQ(Status("localhost" + port, bearer), 200);
  for (const std::string& host :
       {"evil.example" + port, "evil.example" + std::string(), "127.0.0.1.evil.example" + port,
        std::string("127.0.0.1:1"), std::string("localhost"), "shop.quire.example" + port}) {
    EXPECT_EQ(Status(host, bearer), 403) << host;
  }
  for (const std::string& wrong : {std::string(), token, "Basic " + token, bearer + "0",
                                   bearer.substr(0, bearer.size() - 1), std::string("Bearer ")}) {
    EXPECT_EQ(Status(own, wrong), 401) << wrong;
  }
  const auto refused = httplib::Client(shop_->Address("control")).Delete("/_requests");
  EXPECT_EQ(refused->status, 401);
  EXPECT_EQ(refused->body.find(token), std::string::npos);
  const std::string first = token;
  Start();
  EXPECT_NE(shop_->Address("token"), first) << "a token lasts as long as its shop";
}

TEST_F(DevshopControl, SurvivesNestedJson) {
  const std::string nested(100'000, '[');
  for (const std::string& body : {nested, "{\"headers\":{\"a\":" + nested,
                                  "{\"path\":" + nested + std::string(100'000, ']') + "}"}) {
    EXPECT_EQ(Client("control").Post("/_faults", body, "application/json")->status, 400);
  }
  EXPECT_EQ(shop_->Control("/_faults")["faults"], Json::array());
}

}  // namespace
}  // namespace tests
