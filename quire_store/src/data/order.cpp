#include "order.h"

#include "json.h"

namespace saltmoor::quire {

// Compatibility: the date is inside "order", the positions are next to it.
void Order::FromJson(const Json::Value& json) {
  positions.clear();
  order = GetMember(json, "order");
  order_date_placed = ToString(GetMember(order, "orderDatePlaced"));
  const Json::Value& items = GetMember(json, "positions");
  if (!items.isArray()) return;
  for (const Json::Value& item : items) positions.push_back(Book::FromJson(item));
}

}  // namespace saltmoor::quire
