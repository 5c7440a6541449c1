#include <unistd.h>

#include <sstream>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

const std::string kOpen = "config open " + kConfigPath;
const std::string kTimeKey = "int switchboard_update_time";
const std::string kAsk =
    "GET " + kSwitchboardUrl + "?device_sn=SN-1&nonce=NONCE&client_signature=SIGNATURE";
const std::string kLogIn = "POST /login username=anna&password=" + kPassword + "&storeId=";

class StoreManagerInit : public FakeDeviceFixture {
 protected:
  void SetUp() override {
    FakeDeviceFixture::SetUp();
    PrepareStart();
  }
};

TEST_F(StoreManagerInit, ConstructorSendsNoRequest) {
  EXPECT_EQ(&manager(), &StoreManager::Instance());
  EXPECT_EQ(device.Calls(), Lines{"downloader /mnt/ext1/Downloads"});
  EXPECT_FALSE(manager().IsLoggedIn() || manager().IsPurchasedKnown());
  EXPECT_EQ(manager().GetSavedPath() + LastFailure() + manager().GetShopName(), "");
  EXPECT_EQ(manager().RegisterPushNotification(), 0);
}

TEST_F(StoreManagerInit, FetchesLogsInAndLoadsInOrder) {
  device.clock_s = {1700000000, 1700000099};
  WriteFile(kCartPath, R"({"orderItems":[{"orderItemEAN":"C1"}]})");
  manager();
  device.ClearCalls();
  std::map<std::string, unsigned> items;  // in the cart at each request
  device.on_request = [&](const std::string& path) { items[path] = manager().GetCart().GetSize(); };
  EXPECT_EQ(manager().Init(), 0);
  device.on_request = nullptr;
  EXPECT_TRUE(items["/login"] == 0 && items["/getUserEbook"] == 1);
  EXPECT_EQ(
      device.Calls(),
      (Lines{kOpen, "config read " + kTimeKey, "key Tw3kH-pL",
             "sign device_sn=SN-1&nonce=NONCE salt= key=KEY", kAsk,
             "config write " + kTimeKey + "=1700000000", "config save", "config read session_id",
             "config read user_name", "config read secret password", kLogIn + "4711",
             "config write session_id=" + kSession, "config save",
             "POST /getUserEbook opdsSessionId=" + kSession + "&storeId=4711", "config close"}));
  EXPECT_TRUE(manager().IsLoggedIn());
  EXPECT_EQ(manager().GetShopName() + manager().GetClientId(), "The ShopC-9");
  EXPECT_TRUE(manager().GetCart().IsContain("C1"));
  EXPECT_EQ(manager().GetPurchased().size(), 1u);
  std::ostringstream cache;
  cache << ParseJson(kSwitchboardResponse);
  EXPECT_EQ(ReadFile(kSwitchboardPath), cache.str());
}

TEST_F(StoreManagerInit, UsesCacheUpTo1800Seconds) {
  const std::tuple<std::int64_t, std::int64_t, bool> rows[] = {
      {1700000000, 1700000000, false},
      {1700000000, 1700001800, false},
      {1700000000, 1700001801, true},
      {1700000000, 1699999999, true},
      {0, 1800, false},
      {0, 1700000000, true},
      // The difference has 32 bits: across the end of the range, and of a time beyond it.
      {-100, 4294967196 + 1800, false},
      {-100, 4294967196 + 1801, true},
      {1700000000, 4294967296 + 1700000000 + 1800, false},
      {1700000000, 4294967296 + 1700000000 - 1, true}};
  for (const auto& [stored, now, asked] : rows) {
    SCOPED_TRACE(std::to_string(stored) + " " + std::to_string(now));
    WriteFile(kSwitchboardPath, R"({"shopName":"Cached",)"
                                R"("opdsUrl":{"OPDSStartPage":"https://shop/5/opds/"}})");
    device.config[kTimeKey] = std::to_string(stored);
    device.clock_s = {now};
    device.ClearCalls();
    EXPECT_EQ(manager().Init(), 0);
    EXPECT_EQ(device.Calls({"GET", "config write int"}).size(), asked ? 2u : 0u);
    EXPECT_EQ(manager().GetShopName(), asked ? "The Shop" : "Cached");
    EXPECT_EQ(device.Calls({"POST /login"}), Lines{kLogIn + (asked ? "4711" : "5")});
  }
}

TEST_F(StoreManagerInit, ReportsConfigurationWithoutContentAndCachesIt) {
  device.clock_s = {1000};
  for (const char* page : {"<html>sign in</html>", "{}", R"({"partner":1.5})"}) {
    device.SetOnlyResponse(kSwitchboardUrl, page);
    EXPECT_EQ(manager().ConfigFromServer(), 0);
    EXPECT_EQ(LastFailure(), "unreadable");
    device.config[kTimeKey] = "1000";
    EXPECT_EQ(manager().Init(), 0);
    EXPECT_EQ(LastFailure(), "unreadable");
    EXPECT_EQ(device.Calls({"GET"}).size(), 1u);
  }
}

TEST_F(StoreManagerInit, FetchesAgainWhenFreshCacheIsUnreadable) {
  for (const char* cache : {"", "not json", "{\"shopName\":"}) {
    unlink(kSwitchboardPath.c_str());
    if (*cache != 0) WriteFile(kSwitchboardPath, cache);
    device.config[kTimeKey] = "1000";
    device.clock_s = {1001, 1031};
    device.ClearCalls();
    EXPECT_EQ(manager().Init(), 0);
    EXPECT_EQ(device.Calls({"GET", "config write int"}),
              (Lines{kAsk, "config write " + kTimeKey + "=1031"}));
    EXPECT_EQ(manager().GetShopName(), "The Shop");
  }
}

TEST_F(StoreManagerInit, FailedFetchKeepsLastGoodConfigurationForCalls) {
  ASSERT_EQ(manager().Init(), 0);
  const std::string cache = ReadFile(kSwitchboardPath);
  for (const bool fresh : {false, true}) {
    device.SetOnlyResponse(kSwitchboardUrl, "{}", 503);
    device.clock_s = {1000};
    device.config[kTimeKey] = fresh ? "1000" : "2000";
    if (fresh) unlink(kSwitchboardPath.c_str());
    const auto saved = device.config;
    EXPECT_EQ(manager().Init(), -1);
    EXPECT_EQ(device.Calls({"config", "POST"}),
              (Lines{kOpen, "config read " + kTimeKey, "config close"}));
    EXPECT_EQ(device.config, saved);
    EXPECT_EQ(LastFailure(), "status 503");
    EXPECT_EQ(manager().GetShopName(), "");
    EXPECT_EQ(manager().GetConfig()[SwitchboardConfig::kShopName], "The Shop");
    EXPECT_TRUE(fresh || ReadFile(kSwitchboardPath) == cache);
    manager().GetUserData();
    EXPECT_EQ(device.Calls({"POST"}),
              Lines{"POST /getUserData storeId=4711&opdsSessionId=" + kSession});
  }
}

TEST_F(StoreManagerInit, DoesNothingWithoutConfigFile) {
  manager();
  device.ClearCalls();
  device.config_opens = false;
  EXPECT_EQ(manager().Init(), -1);
  EXPECT_EQ(LastFailure(), "config file");
  EXPECT_EQ(device.Calls(), Lines{kOpen});
  manager().LogOut();
  EXPECT_EQ(manager().NewSession(nullptr), -1);
  EXPECT_EQ(LastFailure(), "config file");
  EXPECT_EQ(manager().getLogin() + manager().getPassword(), "");
  EXPECT_EQ(device.Calls({"POST"}), Lines());
}

TEST_F(StoreManagerInit, HoldsStoredSessionButDoesNotSendIt) {
  device.config["session_id"] = "old";
  device.SetOnlyResponse(kSwitchboardUrl, kSwitchboardResponse);
  device.AddResponse("/login", kRefusal);
  EXPECT_EQ(manager().Init(), 0);
  EXPECT_TRUE(manager().IsLoggedIn());
  EXPECT_EQ(device.config["session_id"], "old");
  EXPECT_EQ(device.Calls({"POST /getUserEbook"}),
            Lines{"POST /getUserEbook opdsSessionId=&storeId=4711"});
}

TEST_F(StoreManagerInit, NewSessionSendsNothingWithoutCredentials) {
  for (const char* missing : {"user_name", "secret password"}) {
    device.config[missing] = "";
    EXPECT_EQ(manager().NewSession(nullptr), -1);
    EXPECT_EQ(LastFailure(), "credentials");
    EXPECT_EQ(device.Calls({"POST", "config write", "config save"}), Lines());
  }
}

TEST_F(StoreManagerInit, NewSessionClosesOnlyItsOwnHandle) {
  EXPECT_EQ(manager().NewSession(nullptr), 0);
  EXPECT_EQ(device.OpenHandles(), 0);
  EXPECT_EQ(device.config["session_id"], kSession);
  iconfig_s* config = OpenConfig("mine", nullptr);
  device.ClearCalls();
  EXPECT_EQ(manager().NewSession(config), 0);
  EXPECT_EQ(device.Calls({"config open", "config close", "config discard"}), Lines());
  EXPECT_EQ(device.OpenHandles(), 1);
  CloseConfigNoSave(config);
}

TEST_F(StoreManagerInit, ThrowsLogicErrorWhenPlatformReturnsNull) {
  for (const char* key : {"user_name", "secret password", "session_id"}) {
    device.null_reads = {key};
    EXPECT_THROW(manager().Init(), std::logic_error) << key;
    EXPECT_EQ(device.OpenHandles(), 0);
  }
  device.null_reads = {"user_name", "secret password"};
  EXPECT_THROW(manager().NewSession(nullptr), std::logic_error);
  EXPECT_THROW(manager().getLogin(), std::logic_error);
  EXPECT_THROW(manager().getPassword(), std::logic_error);
  EXPECT_EQ(device.OpenHandles(), 0);
  iconfig_s* config = OpenConfig("mine", nullptr);
  EXPECT_THROW(manager().NewSession(config), std::logic_error);
  EXPECT_EQ(device.OpenHandles(), 1);
  CloseConfigNoSave(config);
}

TEST_F(StoreManagerInit, ReadsCredentialsWithoutSaving) {
  manager();
  device.ClearCalls();
  EXPECT_EQ(manager().getLogin(), "anna");
  EXPECT_EQ(manager().getPassword(), kPassword);
  EXPECT_EQ(device.Calls(), (Lines{kOpen, "config read user_name", "config discard", kOpen,
                                   "config read secret password", "config discard"}));
}

}  // namespace
}  // namespace saltmoor::quire
