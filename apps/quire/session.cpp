#include "session.h"

#include "screen.h"

namespace app {

store::StoreManager& Session::Store() {
  store::StoreManager& manager = store::StoreManager::Instance();
  if (is_initialised_) return manager;
  {
    const Spinner spinner("Asking the shop …");
    if (manager.Init() != 0) {
      throw ToCommandError("The shop cannot be opened", manager.GetLastFailure());
    }
  }
  is_initialised_ = true;
  purchased_are_fresh_ = manager.IsPurchasedKnown();
  try {
    SettleOpenOrder();
  } catch (const CommandError& error) {
    Screen::Err().PrintLine(error.what(), Style::kError);  // it stops payments only
  }
  return manager;
}

const store::Cart& Session::LocalCart() {
  if (is_initialised_) return store::StoreManager::Instance().GetCart();
  if (!is_cart_loaded_) stored_cart_.Load();
  is_cart_loaded_ = true;
  return stored_cart_;
}

void Session::RemoveFromCart(const store::Book& book) {
  if (is_initialised_) {
    store::StoreManager::Instance().RemoveFromCart(book);
  } else {
    stored_cart_.RemoveFromCart(book);
  }
}

std::optional<SettledOrder> Session::SettleOpenOrder() {
  store::StoreManager& manager = store::StoreManager::Instance();
  if (settled_ || !manager.IsLoggedIn()) return settled_;
  const auto order = ReadOrderJournal().FindOpen(manager.getLogin());
  if (!order) return std::nullopt;
  std::optional<PaymentLock> lock;
  if (!payment_lock && lock.emplace().state() == FileLock::State::kBusy) return std::nullopt;
  {
    const Spinner spinner("Asking the shop about an open order …");
    OrderPayment payment(manager);
    settled_ = SettleOrder(manager, payment, *order);
  }
  if (settled_->HasEnded()) purchased_are_fresh_ = manager.IsPurchasedKnown();
  Screen::Err().PrintLine(DescribeOrder(*settled_));
  return settled_;
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
