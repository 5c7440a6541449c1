#include <unistd.h>

#include <thread>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

const std::string kOpen = "config open " + kConfigPath;

class StoreManagerAccount : public FakeDeviceFixture {
 protected:
  void SetUp() override {
    FakeDeviceFixture::SetUp();
    manager();
    device.ClearCalls();
  }
};

TEST_F(StoreManagerAccount, StoresSessionAndCredentialsOnLogIn) {
  PrepareStart();
  device.config.clear();
  EXPECT_EQ(Describe(manager().LogIn("anna", kPassword)), "ok");
  EXPECT_EQ(
      device.Calls(),
      (Lines{kOpen, "POST /login username=anna&password=" + kPassword + "&storeId=",
             "config write session_id=" + kSession, "config write user_name=anna",
             "config write secret password=" + kPassword, "config save",
             "POST /getUserEbook opdsSessionId=" + kSession + "&storeId=", "config discard"}));
  EXPECT_TRUE(manager().IsLoggedIn());
  EXPECT_EQ(manager().GetPurchased().size(), 1u);
}

TEST_F(StoreManagerAccount, StoresNothingWhenLogInOrRegisterFails) {
  device.AddResponse("/login", kRefusal);
  device.AddResponse("/registerUser", kRefusal);
  for (const char* words : {"failed: no", "failed"}) {
    EXPECT_EQ(Describe(manager().LogIn("anna", kPassword)), words);
    EXPECT_EQ(Describe(manager().Register("e@x", kPassword, "N", "L", "T")), words);
    EXPECT_EQ(device.OpenHandles(), 0);
    device.ClearResponses();
  }
  EXPECT_EQ(device.Calls({"config write", "config save", "config close", "POST /getUserEbook"}),
            Lines());
  EXPECT_EQ(device.Calls({"config discard"}).size(), 4u);
  EXPECT_FALSE(manager().IsLoggedIn());
}

TEST_F(StoreManagerAccount, RegisterStoresCredentialsWithoutLoggingIn) {
  device.AddResponse("/registerUser", R"({"response":{"successMsg":"welcome"}})");
  device.AddResponse("/getUserEbook", kRefusal);
  EXPECT_EQ(Describe(manager().Register("e@x", kPassword, "N", "L", "T")), "ok: welcome");
  EXPECT_EQ(LastFailure(), "");
  EXPECT_FALSE(manager().IsLoggedIn());
  EXPECT_EQ(device.Calls({"config", "POST"}),
            (Lines{kOpen,
                   "POST /registerUser email=e@x&password=" + kPassword +
                       "&storeId=&name=N&lastname=L&title=T",
                   "config write session_id=", "config write user_name=e@x",
                   "config write secret password=" + kPassword, "config save",
                   "POST /getUserEbook opdsSessionId=&storeId=", "config discard"}));

  device.AddResponse("/login", R"({"response":{"opdsSessionId":")" + kSession + R"("}})");
  manager().LogIn("anna", kPassword);
  manager().Register("f@x", kPassword, "N", "L", "T");
  EXPECT_EQ(LastFailure(), "refused: no");
  EXPECT_TRUE(manager().IsLoggedIn());
  EXPECT_EQ(device.config["session_id"], kSession);
}

TEST_F(StoreManagerAccount, SucceedsWithoutRequestWhenConfigCannotOpen) {
  device.config_opens = false;
  EXPECT_EQ(Describe(manager().LogIn("anna", kPassword)), "ok");
  EXPECT_EQ(LastFailure(), "config file");
  manager().LogOut();
  device.ClearCalls();
  EXPECT_EQ(Describe(manager().Register("e@x", kPassword, "N", "L", "T")), "ok");
  EXPECT_EQ(LastFailure(), "config file");
  EXPECT_EQ(device.Calls(), Lines{kOpen});
}

TEST_F(StoreManagerAccount, LogsOutLocallyAndKeepsCredentials) {
  PrepareStart();
  manager().LogIn("anna", kPassword);
  manager().AddToCart(MakeBook("C1"));
  manager().DownloadBookById("B1");
  while (manager().CheckDownloadState() == 1) std::this_thread::yield();
  EXPECT_NE(manager().GetSavedPath(), "");
  unlink(manager().GetSavedPath().c_str());
  device.holds_downloads = true;
  manager().DownloadBookById("B1");
  device.ClearCalls();
  manager().LogOut();
  EXPECT_EQ(device.Calls({"config", "POST", "forget"}), Lines{"forget authorisation"});
  EXPECT_FALSE(manager().IsLoggedIn());
  EXPECT_EQ(manager().GetSavedPath(), "");
  EXPECT_EQ(manager().GetCart().GetSize(), 0u);
  EXPECT_EQ(ParseJson(ReadFile(kCartPath))["orderItems"], ParseJson("[]"));
  EXPECT_TRUE(manager().GetPurchased().empty());
  EXPECT_FALSE(manager().IsPurchasedKnown());
  EXPECT_EQ(device.config["user_name"], "anna");
  EXPECT_EQ(device.config["session_id"], kSession);
  SetPurchased(R"([{"orderItemEAN":"B1"}])");
  EXPECT_EQ(device.Calls({"POST"}), Lines{"POST /getUserEbook opdsSessionId=&storeId="});
  EXPECT_EQ(manager().GetBookStatus("B1").status, BookStatus::kPurchased);
}

TEST_F(StoreManagerAccount, EmptiesPurchasedWhenFetchFails) {
  SetPurchased(R"([{"orderItemEAN":"B1"},{"orderItemEAN":"B1"}])");
  EXPECT_EQ(manager().GetPurchased().size(), 2u);
  for (const auto& [body, failure] : std::map<std::string, std::string>{
           {"<html>", "unreadable"}, {kRefusal, "refused: no"}, {R"({"response":[]})", ""}}) {
    device.SetOnlyResponse("/getUserEbook", body);
    EXPECT_TRUE(manager().LoadPurchased().empty() && manager().GetPurchased().empty());
    EXPECT_EQ(LastFailure(), failure);
    EXPECT_EQ(manager().IsPurchasedKnown(), failure.empty());
  }
}

TEST_F(StoreManagerAccount, SavesCartUnlessBookToRemoveIsMissing) {
  const auto saved = [] { return unlink(kCartPath.c_str()) == 0; };
  for (int times = 0; times < 2; ++times) {
    EXPECT_TRUE(Describe(manager().AddToCart(MakeBook("1"))) == "ok" && saved());
  }
  EXPECT_TRUE(manager().RemoveFromCart(7u) == 0 && saved());
  EXPECT_TRUE(manager().RemoveFromCart(MakeBook("2")) == 0 && !saved());
  EXPECT_TRUE(manager().RemoveFromCart(MakeBook("1")) == 0 && saved());
  EXPECT_EQ(manager().GetCart().GetSize(), 0u);
  EXPECT_EQ(device.Calls(), Lines());
}

}  // namespace
}  // namespace saltmoor::quire
