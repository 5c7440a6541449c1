#ifndef QUIRE_APP_SESSION_H_
#define QUIRE_APP_SESSION_H_

#include <optional>
#include <string>
#include <vector>

#include "store_manager.h"

namespace app {

namespace store = saltmoor::quire;

/// The library's manager as commands use it: brought up when one first needs it, and kept.
class Session {
 public:
  enum class Mode {
    kSingleCommand,
    kScript,  ///< commands are read from a file or a pipe
    kPrompt,  ///< a person types one command after the other
  };
  explicit Session(Mode mode) : mode_(mode) {}

  Mode mode() const { return mode_; }

  /// Tells that a new command begins: what was fetched before counts as old from here on.
  void BeginCommand() { purchased_are_fresh_ = false; }

  /// The manager, brought up. Throws CommandError when it cannot be.
  store::StoreManager& Store();

  /// The manager, with a user logged in. Throws CommandError when nobody is.
  store::StoreManager& LoggedInStore();

  /// What the user has bought, asked of the shop in this command. Throws CommandError when nobody
  /// is logged in or the shop gives no answer, which the manager's list alone does not tell.
  const std::vector<store::Book>& PurchasedBooks();

  /// Which shop this is, as the manager last cached it.
  store::SwitchboardConfig Config();

  /// A download that goes on although its command has ended.
  std::optional<store::Book> background_download;
  /// Whether the cart is as a checkout of this session left it, with an order to pay.
  bool order_is_priced = false;
  /// Whether a payment of this session was started and not seen to succeed.
  bool payment_was_started = false;

 private:
  Mode mode_;
  bool is_up_ = false;
  bool purchased_are_fresh_ = false;
};

/// The book's property; empty when it is absent.
std::string GetString(const store::Book& book, store::Book::StringProps property);

/// The first of some books with that EAN; null when there is none.
const store::Book* FindByEan(const std::vector<store::Book>& books, const std::string& ean);

}  // namespace app

#endif  // QUIRE_APP_SESSION_H_
