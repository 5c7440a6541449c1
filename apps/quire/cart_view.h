#ifndef QUIRE_APP_CART_VIEW_H_
#define QUIRE_APP_CART_VIEW_H_

#include <vector>

#include "json_output.h"
#include "session.h"

namespace app {

/// Prints the cart's items and its total.
void PrintCart(const store::Cart& cart);

/// "items" (a book each, with its "position"), "total_hundredths", "total" and "order_id".
Json CartToJson(const store::Cart& cart);

}  // namespace app

#endif  // QUIRE_APP_CART_VIEW_H_
