#include <gtest/gtest.h>

#include "on_device.h"
#include "support/development_shop.h"

namespace {

using namespace on_device;
using namespace saltmoor::quire;

Json::Value Fault(const std::string& path, const std::string& fault) {
  Json::Value value;
  value["path"] = path;
  value["fault"] = fault;
  value["times"] = 1;
  return value;
}

TEST(Wire, APostIsSentOnceWhenItsKeptConnectionDies) {
  tests::DevelopmentShop shop;
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);
  ASSERT_EQ(manager.LogIn(kUser, kPassword).code_, ServerApi::kOk);
  ASSERT_EQ(shop.Requests("/getUserData").size(), 0u);

  shop.Arm(Fault("/getUserData", "reset"));
  EXPECT_EQ(std::get<0>(manager.GetUserData()).code_, ServerApi::kFailed);
  EXPECT_EQ(shop.Delivered(), 1);
  EXPECT_EQ(shop.Requests("/getUserData").size(), 1u);

  // The next call is served as if nothing had been.
  EXPECT_EQ(std::get<0>(manager.GetUserData()).code_, ServerApi::kOk);
  EXPECT_EQ(shop.Requests("/getUserData").size(), 2u);
}

TEST(Wire, FieldsArriveInTheirOrderOnOneKeptConnection) {
  tests::DevelopmentShop shop;
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);
  ASSERT_EQ(manager.LogIn(kUser, kPassword).code_, ServerApi::kOk);

  const auto log_ins = shop.Requests("/login");
  const auto lists = shop.Requests("/getUserEbook");
  ASSERT_EQ(log_ins.size(), 1u);
  ASSERT_FALSE(lists.empty());
  Json::Value expected(Json::arrayValue);
  for (const auto& [key, value] :
       {std::pair{"username", kUser}, {"password", kPassword}, {"storeId", "4711"}}) {
    Json::Value field(Json::arrayValue);
    field.append(key);
    field.append(value);
    expected.append(field);
  }
  EXPECT_EQ(log_ins[0]["form"], expected);
  EXPECT_EQ(log_ins[0]["connection"], lists.back()["connection"]);
}

TEST(Wire, AnswersThatAreNoneNeitherThrowNorLogIn) {
  tests::DevelopmentShop shop;
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);
  for (const std::string& body :
       {std::string("not json"), std::string(2000, '['),
        std::string(R"({"error":[],"response":"text"})"), std::string()}) {
    Json::Value fault = Fault("/login", "body");
    fault["body"] = body;
    shop.Arm(fault);
    EXPECT_EQ(manager.LogIn(kUser, kPassword).code_, ServerApi::kOk) << body;
    EXPECT_FALSE(manager.IsLoggedIn()) << body;
  }
  Json::Value fault = Fault("/login", "status");
  fault["status"] = 500;
  shop.Arm(fault);
  EXPECT_EQ(manager.LogIn(kUser, kPassword).code_, ServerApi::kFailed);
}

class WrongCertificate : public ::testing::TestWithParam<const char*> {};

TEST_P(WrongCertificate, NoRequestIsSent) {
  tests::DevelopmentShop shop({"--certificate", GetParam()});
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);  // the configuration service speaks plain HTTP
  EXPECT_EQ(manager.LogIn(kUser, kPassword).code_, ServerApi::kFailed);
  EXPECT_TRUE(shop.Requests("/login").empty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, WrongCertificate,
                         ::testing::Values("other-host", "expired", "unknown-authority"),
                         [](const auto& kind) {
                           std::string name = kind.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
