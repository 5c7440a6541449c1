#ifndef QUIRE_APPS_COMMON_ORDER_JOURNAL_H_
#define QUIRE_APPS_COMMON_ORDER_JOURNAL_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "state_file.h"

namespace app {

/// An order as the application remembers it.
struct RecordedOrder {
  enum class State {
    kOpen,   ///< its payment was started, and whether it was placed is not known yet
    kPlaced  ///< paid and placed
  };
  struct Title {
    std::string ean;
    std::string title;
    bool was_owned = false;  ///< the user had bought it before
  };

  std::string id;      ///< the shop's number
  std::string user;    ///< who orders
  std::string method;  ///< of payment, as the shop names it
  State state = State::kOpen;
  std::vector<Title> titles;
  std::string total;           ///< for display
  std::int64_t started_s = 0;  ///< since the epoch
  std::string placed;          ///< the server's timestamp; empty when unknown
};

/// The orders of this device's users, kept in a file (mode 0600), so that a paid order is neither
/// lost nor paid twice when the process ends. An order is recorded before its payment can begin.
/// Not thread-safe; of several processes only one at a time may change the file.
class OrderJournal {
 public:
  /// Reads the file. A damaged one is renamed to FILE.bad.
  explicit OrderJournal(std::string file = std::string(kStateDirectory) + "quire_orders.json");

  /// False when there is a file that cannot be read: whether an order is open is then unknown.
  bool is_known() const { return is_known_; }

  /// Whether the file was damaged and has been renamed.
  bool was_damaged() const { return was_damaged_; }

  /// The user's open order.
  std::optional<RecordedOrder> FindOpen(const std::string& user) const;

  /// The user's placed orders, the latest first; at most kMaxPlaced are kept for all users.
  std::vector<RecordedOrder> FindPlaced(const std::string& user) const;

  /// Adds an order or replaces the one with its number and user, in the file too.
  /// \return false when the file could not be written; it is then as before.
  [[nodiscard]] bool Put(const RecordedOrder& order);

  /// Removes an order, in the file too. Returns as Put.
  [[nodiscard]] bool Remove(const RecordedOrder& order);

  /// Removes all orders of a user, in the file too. Returns as Put.
  [[nodiscard]] bool RemoveUser(const std::string& user);

  static constexpr std::size_t kMaxPlaced = 500;

 private:
  bool Parse(const std::string& content);
  bool Write(std::vector<RecordedOrder> orders);

  std::string file_;
  bool is_known_ = true;
  bool was_damaged_ = false;
  std::vector<RecordedOrder> orders_;  // the oldest first
};

}  // namespace app

#endif  // QUIRE_APPS_COMMON_ORDER_JOURNAL_H_
