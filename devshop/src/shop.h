#ifndef DEVSHOP_SHOP_H_
#define DEVSHOP_SHOP_H_

#include <filesystem>
#include <mutex>
#include <string>

#include "accounts.h"
#include "catalogue.h"
#include "orders.h"

namespace devshop {

/// What the shop knows and remembers. `mutex` guards accounts and orders.
class Shop {
 public:
  /// Reads the books and the accounts. With `state_file`, what changes is kept there and read from
  /// there, in place of the accounts file, at the next start. Throws StartError.
  Shop(const std::filesystem::path& books, const std::filesystem::path& accounts,
       const std::filesystem::path& state_file);

  const Catalogue& catalogue() const { return catalogue_; }

  /// Keeps what has changed; the caller locks. A failure is told on standard error.
  void Save() const;

  /// The part of a bought book's link that only its customer knows.
  std::string LinkToken(const Account& account, const std::string& ean) const;

  std::mutex mutex;
  Accounts accounts;
  Orders orders;

 private:
  Catalogue catalogue_;
  std::filesystem::path state_file_;  // empty: nothing is kept
  std::string link_secret_;
};

}  // namespace devshop

#endif  // DEVSHOP_SHOP_H_
