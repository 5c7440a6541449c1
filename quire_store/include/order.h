#ifndef QUIRE_ORDER_H_
#define QUIRE_ORDER_H_

#include <json/value.h>

#include <string>
#include <vector>

#include "book.h"
#include "quire_export.h"

namespace saltmoor::quire {

/// An order that the shop has taken. A plain value: an object belongs on one thread at a time.
class QUIRE_EXPORT Order {
 public:
  /// Fills the order from the shop's answer. Never fails: what is missing or of another type stays
  /// empty.
  void FromJson(const Json::Value& json);

  std::vector<Book> positions;    ///< the ordered items
  std::string order_date_placed;  ///< the server's timestamp
  Json::Value order;              ///< the order's header as received, whatever its type
};

}  // namespace saltmoor::quire

#endif  // QUIRE_ORDER_H_
