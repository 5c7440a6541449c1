#ifndef QUIRE_ORDER_H_
#define QUIRE_ORDER_H_

#include <json/value.h>

#include <string>
#include <vector>

#include "book.h"
#include "quire_export.h"

namespace saltmoor::quire {

/// A submitted order. A value type, not thread-safe.
class QUIRE_EXPORT Order {
 public:
  /// Reads the order from the shop's response. A member that is missing or of another type is
  /// empty.
  void FromJson(const Json::Value& json);

  std::vector<Book> positions;    ///< the ordered items
  std::string order_date_placed;  ///< the server's timestamp
  Json::Value order;              ///< the order's header as received, of any type
};

}  // namespace saltmoor::quire

#endif  // QUIRE_ORDER_H_
