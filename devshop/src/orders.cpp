#include "orders.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "crypto.h"
#include "timestamp.h"

namespace devshop {
namespace {

constexpr int kFirstOrderId = 500'001;

}  // namespace

NLOHMANN_JSON_SERIALIZE_ENUM(Order::Payment, {{Order::Payment::kNone, "none"},
                                              {Order::Payment::kOpen, "open"},
                                              {Order::Payment::kApproved, "approved"},
                                              {Order::Payment::kCancelled, "cancelled"}})

long Order::AmountHundredths(const Catalogue& catalogue) const {
  long amount = 0;
  for (const auto& ean : eans) {
    if (const Title* title = catalogue.Find(ean)) amount += title->price_hundredths;
  }
  return amount;
}

Order& Orders::Cart(const std::string& session, const std::string& email) {
  const auto known = orders_.find(cart_by_session_[session]);
  if (known != orders_.end() && known->second.payment != Order::Payment::kApproved) {
    return known->second;
  }
  Order order;
  order.id = std::to_string(kFirstOrderId + static_cast<int>(orders_.size()));
  order.email = email;
  order.last_updated = FormatTime(std::time(nullptr));
  cart_by_session_[session] = order.id;
  return orders_[order.id] = order;
}

Order* Orders::Find(const std::string& id, const std::string& email) {
  const auto found = orders_.find(id);
  return found == orders_.end() || found->second.email != email ? nullptr : &found->second;
}

Order* Orders::FindPayment(const std::string& token) {
  for (auto& [id, order] : orders_) {
    if (!order.payment_token.empty() && SecretsEqual(order.payment_token, token)) return &order;
  }
  return nullptr;
}

void Orders::Commit(Order& order, const std::string& pay_method) {
  const bool has_page = pay_method == "PAYPAL" || pay_method == "CCARD";
  order.pay_method = pay_method;
  order.payment = has_page ? Order::Payment::kOpen : Order::Payment::kApproved;
  order.payment_token = has_page ? RandomHex(16) : "";
  order.checks = 0;
}

std::string Orders::Check(Order& order) {
  ++order.checks;
  if (next_status) return *std::exchange(next_status, std::nullopt);
  if (order.payment == Order::Payment::kCancelled) return "Failure";
  if (order.checks <= pending_checks) return "Pending";
  return order.payment == Order::Payment::kApproved ? "Success" : "In Progress";
}

void Orders::Load(const Json& json) {
  for (const Json& entry : json) {
    Order order;
    order.id = entry.at("id");
    order.email = entry.at("email");
    order.eans = entry.at("eans").get<std::vector<std::string>>();
    order.last_updated = entry.at("lastUpdated");
    order.payment = entry.at("payment");
    order.pay_method = entry.at("payMethod");
    order.success_url = entry.at("successUrl");
    order.cancel_url = entry.at("cancelUrl");
    order.payment_token = entry.at("paymentToken");
    order.placed = entry.at("placed");
    orders_[order.id] = order;
  }
}

Json Orders::ToJson() const {
  Json list = Json::array();
  for (const auto& [id, order] : orders_) {
    list.push_back({{"id", order.id},
                    {"email", order.email},
                    {"eans", order.eans},
                    {"lastUpdated", order.last_updated},
                    {"payment", order.payment},
                    {"payMethod", order.pay_method},
                    {"successUrl", order.success_url},
                    {"cancelUrl", order.cancel_url},
                    {"paymentToken", order.payment_token},
                    {"placed", order.placed}});
  }
  return list;
}

}  // namespace devshop
