#ifndef QUIRE_APP_SESSION_H_
#define QUIRE_APP_SESSION_H_

#include <optional>
#include <string>
#include <vector>

#include "command_error.h"
#include "open_order.h"
#include "store_manager.h"

namespace app {

/// The library's manager as commands use it: initialised when a command first needs it, then kept.
class Session {
 public:
  enum class Mode {
    kSingleCommand,
    kScript,  ///< commands come from a file or a pipe
    kPrompt,  ///< a person types one command after the other
  };
  explicit Session(Mode mode) : mode_(mode) {}

  Mode mode() const { return mode_; }

  /// Starts a new command: what an earlier one fetched is fetched again.
  void BeginCommand() {
    is_cart_loaded_ = false;
    purchased_are_fresh_ = false;
    settled_.reset();
  }

  /// The initialised manager; the first call settles an open order. Throws CommandError when Init
  /// fails.
  store::StoreManager& Store();

  /// The cart, read once per command, without asking the shop. Valid until the session's next call.
  const store::Cart& LocalCart();

  /// Removes an item of LocalCart, without asking the shop.
  void RemoveFromCart(const store::Book& book);

  /// The manager with a user logged in. Throws CommandError when nobody is.
  store::StoreManager& LoggedInStore();

  /// The books that the user has bought, fetched during this command. Throws CommandError when
  /// nobody is logged in or the list cannot be fetched; an empty list is a known one.
  const std::vector<store::Book>& PurchasedBooks();

  /// Settles the user's open order, at most once in a command, and prints what has become of it.
  /// \return nothing when there is none, when nobody is logged in, or when another process pays.
  std::optional<SettledOrder> SettleOpenOrder();

  /// The shop's configuration. Throws CommandError when there is none.
  const store::SwitchboardConfig& Config();

  struct Download {
    store::Book book;
    store::Failure failure;  ///< empty as long as it has not failed
  };
  /// A download that continues after its command has ended.
  std::optional<Download> background_download;
  /// Held during "pay", so that nothing else settles its order.
  std::optional<PaymentLock> payment_lock;
  /// The EANs in the order in which the cart numbers its titles; empty: as the manager has them.
  std::vector<std::string> cart_numbering;
  /// Whether the cart is as a checkout of this session left it, with an order to pay.
  bool order_is_priced = false;

 private:
  Mode mode_;
  bool is_initialised_ = false;
  store::Cart stored_cart_;  ///< read from its file as long as the manager is not initialised
  bool is_cart_loaded_ = false;
  bool purchased_are_fresh_ = false;
  std::optional<SettledOrder> settled_;
};

}  // namespace app

#endif  // QUIRE_APP_SESSION_H_
