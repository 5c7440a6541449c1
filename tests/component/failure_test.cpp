// Which failure the manager keeps; each kind is tested next to the call that it belongs to.

#include <functional>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

class StoreManagerFailure : public FakeDeviceFixture {};

TEST_F(StoreManagerFailure, IsFirstOfNestedCalls) {
  device.AddResponse("/login", R"({"error":"true","response":{"ErrorMsg":"no"}})");
  device.AddResponse("/getUserEbook", "", 500);
  device.AddResponse(kSwitchboardUrl, kSwitchboardResponse);
  device.config["user_name"] = "anna";
  device.config["secret password"] = kPassword;
  EXPECT_EQ(manager().Init(), 0);
  EXPECT_EQ(LastFailure(), "refused: no");
  manager().CheckOut();
  EXPECT_EQ(LastFailure(), "refused: no");
  manager().LoadPurchased();
  EXPECT_EQ(LastFailure(), "status 500");

  PrepareStart();
  manager().LogIn("anna", kPassword);
  EXPECT_EQ(LastFailure(), "");
  device.AddResponse("/addToCart", "", 404);
  manager().CheckOut();
  EXPECT_EQ(LastFailure(), "status 404");
  device.AddResponse("/addToCart", "{}");
  manager().CheckOut();
  EXPECT_EQ(LastFailure(), "network 6");
}

TEST_F(StoreManagerFailure, IsNoneWithoutCredentialsExceptOfNewSession) {
  device.AddResponse("/getUserEbook", R"({"error":"true","response":{"errorMsg":"no session"}})");
  device.AddResponse(kSwitchboardUrl, kSwitchboardResponse);
  device.AddResponse("/addToCart", "{}");
  device.AddResponse("/getCart", "{}");
  EXPECT_EQ(manager().Init(), 0);
  EXPECT_EQ(LastFailure(), "");
  manager().CheckOut();
  EXPECT_EQ(LastFailure(), "");
  manager().NewSession(nullptr);
  EXPECT_EQ(LastFailure(), "credentials");
  manager().LoadPurchased();
  EXPECT_EQ(LastFailure(), "refused: no session");
}

TEST_F(StoreManagerFailure, SurvivesGettersAndIsClearedByCalls) {
  StoreManager& store = manager();
  const std::function<void()> getters[] = {
      [&] { store.IsLoggedIn(), store.getLogin(), store.getPassword(), store.GetShopName(); },
      [&] { store.GetClientId(), store.GetBookStatus("1"), store.GetBookStatusById("1"); },
      [&] { store.GetCart(), store.GetPurchased(), store.IsPurchasedKnown(); },
      [&] { store.GetConfig(), store.GetSavedPath(), store.GetOrderDatePlaced(); }};
  const std::function<void()> calls[] = {[&] { store.LogOut(); },
                                         [&] { store.AddToCart(MakeBook("1")); },
                                         [&] { store.RemoveFromCart(MakeBook("1")); },
                                         [&] { store.RemoveFromCart(0u); },
                                         [&] { store.DownloadBookById("1"); },
                                         [&] { store.CheckDownloadState(); }};
  for (const auto& call : calls) {
    store.GetUserData();
    for (const auto& get : getters) get();
    EXPECT_EQ(LastFailure(), "network 6");
    call();
    EXPECT_EQ(LastFailure(), "");
  }
}

}  // namespace
}  // namespace saltmoor::quire
