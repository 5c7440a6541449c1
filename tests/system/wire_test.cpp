#include "on_device.h"

namespace tests {
namespace {

class Wire : public OnDevice {};

TEST_F(Wire, APostIsSentOnceWhenItsKeptConnectionDies) {
  LogIn();
  const auto ask = [this] { return std::get<0>(manager_.GetUserData()).code_; };
  shop_.Arm({{"path", "/getUserData"}, {"fault", "reset"}});
  EXPECT_EQ(ask(), ServerApi::kFailed);
  EXPECT_EQ(shop_.Delivered(), 1);
  EXPECT_EQ(shop_.Requests("/getUserData").size(), 1u);

  // The next call is served as if nothing had been.
  EXPECT_EQ(ask(), ServerApi::kOk);
  EXPECT_EQ(shop_.Requests("/getUserData").size(), 2u);
}

TEST_F(Wire, FieldsArriveInTheirOrderOnOneKeptConnection) {
  LogIn();
  const auto log_ins = shop_.Requests("/login");
  const auto lists = shop_.Requests("/getUserEbook");
  ASSERT_EQ(log_ins.size(), 1u);
  ASSERT_FALSE(lists.empty());
  EXPECT_EQ(log_ins[0]["form"],
            Json::parse(R"([["username","anna@quire.example"],["password","secret"],
                            ["storeId","4711"]])"));
  EXPECT_EQ(log_ins[0]["connection"], lists.back()["connection"]);
}

TEST_F(Wire, AnswersThatAreNoneNeitherThrowNorLogIn) {
  for (const std::string& body :
       {std::string("not json"), std::string(2000, '['),
        std::string(R"({"error":[],"response":"text"})"), std::string()}) {
    shop_.Arm({{"path", "/login"}, {"fault", "body"}, {"body", body}});
    LogIn();
    EXPECT_FALSE(manager_.IsLoggedIn()) << body;
  }
  shop_.Arm({{"path", "/login"}, {"fault", "status"}, {"status", 500}});
  EXPECT_EQ(manager_.LogIn(kUser, kPassword).code_, ServerApi::kFailed);
}

class WrongCertificate : public OnDevice, public testing::WithParamInterface<const char*> {
 protected:
  WrongCertificate() : OnDevice({"--certificate", GetParam()}) {}
};

TEST_P(WrongCertificate, NoRequestIsSent) {  // but that for the configuration, over plain HTTP
  EXPECT_EQ(manager_.LogIn(kUser, kPassword).code_, ServerApi::kFailed);
  EXPECT_TRUE(shop_.Requests("/login").empty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, WrongCertificate,
                         testing::Values("other-host", "expired", "unknown-authority"),
                         [](const auto& kind) {
                           std::string name = kind.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
}  // namespace tests
