#ifndef DEVSHOP_SHOP_H_
#define DEVSHOP_SHOP_H_

#include <filesystem>
#include <mutex>
#include <string>

#include "accounts.h"
#include "catalogue.h"
#include "orders.h"

namespace devshop {

/// The shop's customers and orders, and what it sells. `mutex` guards accounts and orders.
class Shop {
 public:
  /// The catalogue must outlive the shop. Reads the accounts. With `state_file`, changes are saved
  /// there, and the next start reads them instead of the accounts file. Throws StartError.
  Shop(const Catalogue& catalogue, const std::filesystem::path& accounts,
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
  const Catalogue& catalogue_;
  std::filesystem::path state_file_;  // empty: nothing is kept
  std::string link_secret_;
};

}  // namespace devshop

#endif  // DEVSHOP_SHOP_H_
