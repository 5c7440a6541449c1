#include "order_payment.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "auth.h"

namespace app {
namespace {

namespace store = saltmoor::quire;

/// The payment page in the browser.
class PaymentPage : public store::Auth {
 public:
  bool has_failed() const { return has_failed_; }
  void BrowserError() override { has_failed_ = true; }

 private:
  bool has_failed_ = false;  // written by the session, which has ended when it is read
};

std::string GetString(const store::Book& book, store::Book::StringProps property) {
  const auto found = book.string_props.find(property);
  return found == book.string_props.end() ? std::string() : found->second;
}

/// Whether the list shows that the order was placed. A title that was owned before proves nothing,
/// and neither does one that another order brought.
bool IsPlaced(const RecordedOrder& order, const std::vector<store::Book>& bought) {
  const auto has_brought = [&](const RecordedOrder::Title& title) {
    return std::any_of(bought.begin(), bought.end(), [&](const store::Book& book) {
      const std::string order_id = GetString(book, store::Book::kOrderId);
      const bool may_be_this = order_id == order.id || (order_id.empty() && !title.was_owned);
      return may_be_this && GetString(book, store::Book::kEan) == title.ean;
    });
  };
  const auto is_new = [](const RecordedOrder::Title& title) { return !title.was_owned; };
  return std::any_of(order.titles.begin(), order.titles.end(), is_new) &&
         std::all_of(order.titles.begin(), order.titles.end(),
                     [&](const auto& title) { return title.was_owned || has_brought(title); });
}

}  // namespace

OrderPayment::OrderPayment(store::StoreManager& manager)
    : user_(manager.getLogin()), password_(manager.getPassword()) {
  server_api_.SetConfig(manager.GetConfig());
}

store::Failure OrderPayment::LogIn() {
  if (!server_api_.GetSessionId().empty()) return {};
  server_api_.LogIn(user_, password_);
  return server_api_.GetLastFailure();
}

OrderPayment::PageResult OrderPayment::ShowPage(const RecordedOrder& order) {
  if (const store::Failure failure = LogIn()) return {false, failure};
  const auto commit = server_api_.commitOrderForPayment(order.id, order.method);
  if (const store::Failure& failure = server_api_.GetLastFailure()) return {false, failure};
  if (commit.url.empty()) return {false, {store::Failure::kNoPaymentPage, 0, 0, {}}};
  PaymentPage page;
  const store::Failure browser_failure{store::Failure::kBrowser, 0, 0, {}};
  if (page.Run(commit.url, order.method) != 0) return {false, browser_failure};
  return {true, page.has_failed() ? browser_failure : store::Failure{}};
}

OrderPayment::Outcome OrderPayment::Settle(const RecordedOrder& order) {
  if (const store::Failure failure = LogIn()) return {State::kUnknown, failure, {}};
  const auto bought = std::get<1>(server_api_.GetUserEbook());
  if (server_api_.GetLastFailure()) {
    const store::Failure failure = server_api_.GetLastFailure();
    if (failure.kind == store::Failure::kRefused) server_api_.SetSessionId("");  // it has ended
    return {State::kUnknown, failure, {}};
  }
  if (IsPlaced(order, bought)) return {State::kPlaced, {}, {}};
  const auto check = std::get<1>(server_api_.CheckOrder(order.id));
  if (server_api_.GetLastFailure()) {
    const bool is_refused = server_api_.GetLastFailure().kind == store::Failure::kRefused;
    return {is_refused ? State::kRefused : State::kUnknown, server_api_.GetLastFailure(), {}};
  }
  switch (check.status) {
    case store::ChekResult::kFailure:
      return {State::kNotPaid, {}, {}};
    case store::ChekResult::kPending:
      return {State::kPending, {}, {}};
    case store::ChekResult::kInProgress:
      return {State::kInProgress, {}, {}};
    case store::ChekResult::kSuccess:
      break;
  }
  const auto placed = std::get<1>(server_api_.SubmitOrder(order.id, order.method));
  if (server_api_.GetLastFailure()) return {State::kPaid, server_api_.GetLastFailure(), {}};
  return {State::kPlaced, {}, placed.order_date_placed};
}

}  // namespace app
