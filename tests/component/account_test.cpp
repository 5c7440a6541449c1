#include <unistd.h>

#include "on_device.h"

namespace saltmoor::quire {
namespace {

const std::string kOpen = "config open " + kConfigPath;

class Account : public OnDevice {
 protected:
  void SetUp() override {
    OnDevice::SetUp();
    manager();
    device.ForgetJournal();
  }
};

TEST_F(Account, LogIn_StoresTheSessionAndTheCredentials) {
  ScriptStart();
  device.config.clear();
  EXPECT_EQ(Words(manager().LogIn("anna", kPassword)), "ok");
  EXPECT_EQ(device.Journal(),
            (Lines{kOpen, "POST /login username=anna&password=" + kPassword + "&storeId=",
                   "config write session_id=" + kSession, "config write user_name=anna",
                   "config write secret password=" + kPassword, "config save",
                   "POST /getUserEbook opdsSessionId=" + kSession + "&storeId=", "config drop"}));
  EXPECT_TRUE(manager().IsLoggedIn());
  EXPECT_EQ(manager().GetPurchased().size(), 1u);
}

TEST_F(Account, LogInAndRegister_ThatFail_WriteNothing) {
  const std::string refusal = R"({"error":"true","response":{"ErrorMsg":"no"}})";
  device.Answer("/login", refusal);
  device.Answer("/registerUser", refusal);
  device.config["user_name"] = "old";
  for (const char* words : {"failed: no", "failed"}) {
    EXPECT_EQ(Words(manager().LogIn("anna", kPassword)), words);
    EXPECT_EQ(Words(manager().Register("e@x", kPassword, "N", "L", "T")), words);
    EXPECT_EQ(device.OpenHandles(), 0);
    device.ForgetAnswers();
  }
  EXPECT_EQ(device.Journal({"config write", "config save", "config close", "POST /getUserEbook"}),
            Lines());
  EXPECT_EQ(device.Journal({"config drop"}).size(), 4u);
  EXPECT_FALSE(manager().IsLoggedIn());
}

TEST_F(Account, Register_StoresTheCredentials_ButIsNoLogIn) {
  device.Answer("/registerUser", R"({"response":{"successMsg":"welcome"}})");
  EXPECT_EQ(Words(manager().Register("e@x", kPassword, "N", "L", "T")), "ok: welcome");
  EXPECT_FALSE(manager().IsLoggedIn());
  EXPECT_EQ(device.Journal({"config", "POST"}),
            (Lines{kOpen,
                   "POST /registerUser email=e@x&password=" + kPassword +
                       "&storeId=&name=N&lastname=L&title=T",
                   "config write session_id=", "config write user_name=e@x",
                   "config write secret password=" + kPassword, "config save",
                   "POST /getUserEbook opdsSessionId=&storeId=", "config drop"}));

  device.Answer("/login", R"({"response":{"opdsSessionId":")" + kSession + R"("}})");
  manager().LogIn("anna", kPassword);
  manager().Register("f@x", kPassword, "N", "L", "T");
  EXPECT_TRUE(manager().IsLoggedIn());
  EXPECT_EQ(device.config["session_id"], kSession);
}

TEST_F(Account, WithoutTheConfigurationFile_SucceedsWithoutARequest) {
  device.config_opens = false;
  EXPECT_EQ(Words(manager().LogIn("anna", kPassword)), "ok");
  EXPECT_EQ(Words(manager().Register("e@x", kPassword, "N", "L", "T")), "ok");
  EXPECT_EQ(device.Journal(), (Lines{kOpen, kOpen}));
}

TEST_F(Account, LogOut_IsLocal_AndKeepsTheCredentials) {
  ScriptStart();
  manager().LogIn("anna", kPassword);
  manager().AddToCart(BookOf("C1"));
  device.HoldDownloads();
  manager().DownloadBookById("B1");
  device.ForgetJournal();
  manager().LogOut();
  EXPECT_EQ(device.Journal({"config", "POST", "forget"}), Lines{"forget authorisation"});
  EXPECT_FALSE(manager().IsLoggedIn());
  EXPECT_EQ(manager().GetCart().GetSize(), 0u);
  EXPECT_EQ(Parsed(ReadFile(kCartPath))["orderItems"], Parsed("[]"));
  EXPECT_TRUE(manager().GetPurchased().empty());
  EXPECT_EQ(device.config["user_name"], "anna");
  EXPECT_EQ(device.config["session_id"], kSession);
  Buy(R"([{"orderItemEAN":"B1"}])");
  EXPECT_EQ(device.Journal({"POST"}), Lines{"POST /getUserEbook opdsSessionId=&storeId="});
  EXPECT_EQ(manager().GetBookStatus("B1").status, BookStatus::kPurchased);
}

TEST_F(Account, LoadPurchased_ThatFails_EmptiesTheList) {
  Buy(R"([{"orderItemEAN":"B1"},{"orderItemEAN":"B1"}])");
  EXPECT_EQ(manager().GetPurchased().size(), 2u);
  device.ForgetAnswers();
  EXPECT_TRUE(manager().LoadPurchased().empty());
  EXPECT_TRUE(manager().GetPurchased().empty());
}

TEST_F(Account, Cart_IsWrittenAfterEachCall_ButOneThatFindsNoBook) {
  const auto saved = [] { return unlink(kCartPath.c_str()) == 0; };
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(Words(manager().AddToCart(BookOf("1"))), "ok");
    EXPECT_TRUE(saved());
  }
  EXPECT_EQ(manager().RemoveFromCart(7u), 0);
  EXPECT_TRUE(saved());
  EXPECT_EQ(manager().RemoveFromCart(BookOf("2")), 0);
  EXPECT_FALSE(saved());
  EXPECT_EQ(manager().RemoveFromCart(BookOf("1")), 0);
  EXPECT_TRUE(saved());
  EXPECT_EQ(manager().GetCart().GetSize(), 0u);
  EXPECT_EQ(device.Journal(), Lines());
}

}  // namespace
}  // namespace saltmoor::quire
