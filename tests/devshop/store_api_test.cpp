#include "devshop/running_shop.h"

namespace tests {
namespace {

class DevshopStoreApi : public RunningShop {};

TEST_F(DevshopStoreApi, RefusesWithStatus200AndText) {
  const std::string session = LogIn();
  const std::string wrong_password =
      Refusal("/login", {{"username", kAnna}, {"password", "guess"}});
  EXPECT_FALSE(wrong_password.empty());
  EXPECT_EQ(Refusal("/login", {{"username", "nobody@quire.example"}, {"password", "secret"}}),
            wrong_password)
      << "a stranger must not learn who has an account";
  const Fields other_store{{"username", kAnna}, {"password", "secret"}, {"storeId", "1"}};
  EXPECT_NE(Refusal("/login", other_store), "");

  for (const char* name : {"/getUserData", "/getUserEbook", "/getCart", "/addToCart", "/checkOrder",
                           "/commitOrderForPayment", "/submitOrder"}) {
    EXPECT_NE(Refusal(name, {{"opdsSessionId", "0123"}, {"orderId", "1"}}), "") << name;
    EXPECT_NE(Refusal(name, {{"opdsSessionId", session}, {"storeId", ""}}), "") << name;
  }
  const auto unknown = Client().Post(kApi + "/nothing");
  ASSERT_TRUE(unknown);
  EXPECT_EQ(unknown->status, 404);
}

TEST_F(DevshopStoreApi, RequiresBlankInLogoutStoreIdName) {
  const std::string session = LogIn();
  EXPECT_EQ(Call("/getUserData", {{"opdsSessionId", session}})["response"]["zip"], "20457");
  EXPECT_NE(Refusal("/logout", {{"opdsSessionId", session}, {"storeId", "4711"}}), "");
  EXPECT_EQ(Refusal("/logout", {{"opdsSessionId", session}, {" storeId", "4711"}}), "");
  EXPECT_NE(Refusal("/getUserData", {{"opdsSessionId", session}}), "");
}

TEST_F(DevshopStoreApi, RegistersCustomerOnce) {
  const std::tuple<const char*, const char*, bool> rows[] = {
      {"no address", "secret7", false},
      {"carla@quire.example", "short", false},
      {"ANNA@quire.example", "secret7", false},
      {"carla@quire.example", "secret", true},
      {"carla@quire.example", "secret", false}};
  for (const auto& [email, password, registered] : rows) {
    const Fields form{
        {"email", email}, {"password", password}, {"name", "Çağla"}, {"lastname", "O'Hara"}};
    EXPECT_EQ(Refusal("/registerUser", form).empty(), registered) << email << " " << password;
  }
  const std::string session = LogIn("carla@quire.example");
  const Json profile = Call("/getUserData", {{"opdsSessionId", session}})["response"];
  EXPECT_EQ(profile["name"], "Çağla");
  EXPECT_EQ(profile["surname"], "O'Hara");
  EXPECT_EQ(Call("/getUserEbook", {{"opdsSessionId", session}})["response"], Json::array());
}

TEST_F(DevshopStoreApi, PricesCartWithoutUnavailableTitles) {
  const std::string session = LogIn();
  const Fields wanted{{"", "1"}, {"9004", "2"}, {"9005", "1"}, {"9007", "1"}, {"9008", "0"}};
  const Json added = Call("/addToCart", CartForm(session, wanted));
  const std::string order = added["response"]["orderId"];
  const Json cart = Call("/getCart", {{"opdsSessionId", session}, {"orderId", order}})["response"];
  ASSERT_EQ(cart["orderItems"].size(), 2u);
  EXPECT_EQ(cart["orderItems"][0]["orderItemEAN"], "9004");
  EXPECT_EQ(cart["orderItems"][0]["orderItemPrice"], "4.99");
  EXPECT_EQ(cart["orderItems"][0]["orderItemEbookType"], "text/plain") << "without parameters";
  EXPECT_EQ(cart["orderItems"][1]["orderItemTitle"], "Töpfern & \"Ton\" <7>");
  EXPECT_EQ(cart["order"]["orderAmount"], "12.98") << "a text: clients read no fractions";
  EXPECT_EQ(cart["order"]["orderId"], order);
  EXPECT_EQ(cart["opdsSessionId"], session);

  const std::string bens = LogIn(kBen);
  EXPECT_NE(Refusal("/getCart", {{"opdsSessionId", bens}, {"orderId", order}}), "");
  const Json empty = Call("/addToCart", {{"opdsSessionId", LogIn()}});
  EXPECT_NE(empty["response"]["orderId"], order) << "a new session starts with a new cart";
}

TEST_F(DevshopStoreApi, BindsBookLinksToCustomer) {
  const std::string path = FilePath("9001");
  EXPECT_EQ(Get(path).status, 200);
  std::string guessed = path;
  guessed[10] = guessed[10] == '0' ? '1' : '0';
  EXPECT_EQ(Get(guessed).status, 404);
  const std::string token = path.substr(7, 64);
  EXPECT_EQ(Get("/files/" + token + "/9002/Buch%20%E2%80%9E2%E2%80%9C.txt").status, 404);
}

}  // namespace
}  // namespace tests
