#ifndef QUIRE_CART_FILE_H_
#define QUIRE_CART_FILE_H_

#include <optional>
#include <string>

#include "atomic_file.h"
#include "cart.h"
#include "first_failure.h"

namespace saltmoor::quire {

/// The content of the cart file: Cart::ToJson as jsoncpp's older styled writer writes it.
std::string SerializeCart(const Cart& cart);

/// The cart file during one call of the manager.
class CartFile {
 public:
  /// \param cart  must not change after the first save; both must outlive this.
  /// \param failure  receives why the last save failed, when this is destroyed.
  CartFile(const Cart& cart, FirstFailure& failure) : cart_(cart), failure_(failure) {}
  CartFile(const CartFile&) = delete;
  CartFile& operator=(const CartFile&) = delete;
  ~CartFile();

  /// Saves the cart. Writes nothing when the file is unchanged since the last save.
  void Save();

 private:
  const Cart& cart_;
  FirstFailure& failure_;
  std::string content_;
  ReplaceResult saved_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_CART_FILE_H_
