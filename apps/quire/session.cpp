#include "session.h"

#include "screen.h"

namespace app {

store::StoreManager& Session::Store() {
  store::StoreManager& manager = store::StoreManager::Instance();
  if (is_initialised_) return manager;
  const Spinner spinner("Asking the shop …");
  if (manager.Init() != 0) {
    throw ToCommandError("The shop cannot be opened", manager.GetLastFailure());
  }
  is_initialised_ = true;
  purchased_are_fresh_ = manager.IsPurchasedKnown();
  return manager;
}

const store::Cart& Session::LocalCart() {
  if (is_initialised_) return store::StoreManager::Instance().GetCart();
  stored_cart_.Load();
  return stored_cart_;
}

void Session::RemoveFromCart(unsigned index) {
  if (is_initialised_) {
    store::StoreManager::Instance().RemoveFromCart(index);
  } else {
    stored_cart_.RemoveFromCart(index);
  }
}

store::StoreManager& Session::LoggedInStore() {
  store::StoreManager& manager = Store();
  if (!manager.IsLoggedIn()) {
    throw CommandError(kNotLoggedIn, "You are not logged in. Log in with \"quire login\".");
  }
  return manager;
}

const std::vector<store::Book>& Session::PurchasedBooks() {
  store::StoreManager& manager = LoggedInStore();
  if (purchased_are_fresh_) return manager.GetPurchased();
  const Spinner spinner("Asking the shop …");
  manager.LoadPurchased();
  // A refusal mostly means that the shop has ended the session.
  if (manager.GetLastFailure().kind == store::Failure::kRefused &&
      manager.NewSession(nullptr) == 0) {
    manager.LoadPurchased();
  }
  purchased_are_fresh_ = manager.IsPurchasedKnown();
  if (purchased_are_fresh_) return manager.GetPurchased();
  const store::Failure& failure = manager.GetLastFailure();
  if (failure.kind == store::Failure::kRefused) {
    const CommandError error = ToCommandError("The shop does not accept your session", failure,
                                              "Log in again with \"quire login\".");
    throw CommandError(kNotLoggedIn, error.what());
  }
  throw ToCommandError("The list of your books is unknown", failure);
}

const store::SwitchboardConfig& Session::Config() {
  store::StoreManager& manager = Store();
  const auto is_known = [&] { return manager.GetConfig().ToJson().isObject(); };
  // The library takes over and caches an answer that is not JSON.
  if (!is_known()) manager.ConfigFromServer();
  if (!is_known()) throw ToCommandError("The shop is unknown", manager.GetLastFailure());
  return manager.GetConfig();
}

}  // namespace app
