#ifndef DEVSHOP_SHOP_H_
#define DEVSHOP_SHOP_H_

#include <filesystem>
#include <mutex>
#include <string>

#include "accounts.h"
#include "catalogue.h"
#include "orders.h"

namespace devshop {

/// The shop's books, customers and orders. `mutex` guards accounts and orders.
class Shop {
 public:
  /// Reads the books and the accounts. With `state_file`, changes are saved there, and the next
  /// start reads them instead of the accounts file. Throws StartError.
  Shop(const std::filesystem::path& books, const std::filesystem::path& accounts,
       const std::filesystem::path& state_file);

  const Catalogue& catalogue() const { return catalogue_; }

  /// Saves the state; the caller locks. A failure is printed on standard error.
  void Save() const;

  /// The secret part of a bought book's link.
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
