#include "order.h"

#include "json_access.h"
#include "json_text.h"

namespace saltmoor::quire {

// The date stands inside "order", the positions beside it: meant so.
void Order::FromJson(const Json::Value& json) {
  positions.clear();
  order = Member(json, "order");
  order_date_placed = ToString(Member(order, "orderDatePlaced"));
  const Json::Value& items = Member(json, "positions");
  if (!items.isArray()) return;
  for (const Json::Value& item : items) positions.push_back(Book::FromJson(item));
}

}  // namespace saltmoor::quire
