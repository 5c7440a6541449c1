#include "order_journal.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

namespace app {
namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const RecordedOrder& order) {
  Json titles = Json::array();
  for (const RecordedOrder::Title& title : order.titles) {
    titles.push_back({{"ean", title.ean}, {"title", title.title}, {"was_owned", title.was_owned}});
  }
  return {{"id", order.id},
          {"user", order.user},
          {"method", order.method},
          {"is_placed", order.state == RecordedOrder::State::kPlaced},
          {"titles", titles},
          {"total", order.total},
          {"started_s", order.started_s},
          {"placed", order.placed}};
}

/// Throws Json::exception.
RecordedOrder FromJson(const Json& json) {
  RecordedOrder order;
  order.id = json.at("id");
  order.user = json.at("user");
  order.method = json.at("method");
  if (json.at("is_placed").get<bool>()) order.state = RecordedOrder::State::kPlaced;
  for (const Json& title : json.at("titles")) {
    order.titles.push_back({title.at("ean"), title.at("title"), title.at("was_owned")});
  }
  order.total = json.at("total");
  order.started_s = json.at("started_s");
  order.placed = json.at("placed");
  return order;
}

bool IsPlaced(const RecordedOrder& order) {
  return order.state == RecordedOrder::State::kPlaced;
}

}  // namespace

OrderJournal::OrderJournal(std::string file) : file_(std::move(file)) {
  const std::optional<std::string> content = ReadStateFile(file_);
  is_known_ = content.has_value();
  if (!is_known_ || content->empty() || Parse(*content)) return;
  orders_.clear();
  was_damaged_ = std::rename(file_.c_str(), (file_ + ".bad").c_str()) == 0;
  is_known_ = was_damaged_;
}

bool OrderJournal::Parse(const std::string& content) try {
  const Json json = Json::parse(content);
  for (const Json& order : json.at("orders")) orders_.push_back(FromJson(order));
  return true;
} catch (const Json::exception&) {
  return false;
}

std::optional<RecordedOrder> OrderJournal::FindOpen(const std::string& user) const {
  const auto found = std::find_if(orders_.begin(), orders_.end(), [&](const auto& order) {
    return order.user == user && !IsPlaced(order);
  });
  return found == orders_.end() ? std::nullopt : std::optional(*found);
}

std::vector<RecordedOrder> OrderJournal::FindPlaced(const std::string& user) const {
  std::vector<RecordedOrder> placed;
  std::copy_if(orders_.rbegin(), orders_.rend(), std::back_inserter(placed),
               [&](const auto& order) { return order.user == user && IsPlaced(order); });
  return placed;
}

bool OrderJournal::Put(const RecordedOrder& order) {
  std::vector<RecordedOrder> orders = orders_;
  const auto found = std::find_if(orders.begin(), orders.end(), [&](const auto& each) {
    return each.id == order.id && each.user == order.user;
  });
  if (found == orders.end()) {
    orders.push_back(order);
  } else {
    *found = order;
  }
  auto excess = std::count_if(orders.begin(), orders.end(), IsPlaced) -
                static_cast<std::ptrdiff_t>(kMaxPlaced);
  std::erase_if(orders, [&](const auto& each) { return IsPlaced(each) && excess-- > 0; });
  return Write(std::move(orders));
}

bool OrderJournal::Remove(const RecordedOrder& order) {
  std::vector<RecordedOrder> orders = orders_;
  std::erase_if(orders,
                [&](const auto& each) { return each.id == order.id && each.user == order.user; });
  return Write(std::move(orders));
}

bool OrderJournal::RemoveUser(const std::string& user) {
  std::vector<RecordedOrder> orders = orders_;
  std::erase_if(orders, [&](const auto& each) { return each.user == user; });
  return Write(std::move(orders));
}

bool OrderJournal::Write(std::vector<RecordedOrder> orders) {
  Json list = Json::array();
  for (const RecordedOrder& order : orders) list.push_back(ToJson(order));
  const Json json = {{"orders", std::move(list)}};
  const std::string content = json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  if (!is_known_ || !ReplaceStateFile(file_, content)) return false;
  orders_ = std::move(orders);
  return true;
}

}  // namespace app
