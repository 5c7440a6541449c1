#ifndef QUIRE_CART_CHANGES_H_
#define QUIRE_CART_CHANGES_H_

#include "cart.h"

namespace saltmoor::quire {

// The changes of a cart that its members of similar names save. Each returns whether the cart has
// changed.

bool AddItem(Cart& cart, const Book& book);
bool RemoveItem(Cart& cart, unsigned int index);
bool RemoveItem(Cart& cart, const Book& book);

}  // namespace saltmoor::quire

#endif  // QUIRE_CART_CHANGES_H_
