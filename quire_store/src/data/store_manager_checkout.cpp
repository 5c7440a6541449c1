#include <unistd.h>

#include <map>
#include <utility>

#include "auth.h"
#include "book_properties.h"
#include "first_failure.h"
#include "log.h"
#include "pay_methods.h"
#include "store_manager.h"
#include "tabulet.h"

namespace saltmoor::quire {
namespace {

constexpr int kConnectedBits = 0xF00;
constexpr useconds_t kPollPeriod_us = 5'000'000;

constexpr char kSource[] = "quire_store/src/data/store_manager";
constexpr char kStartPayment[] =
    "ServerApi::Result saltmoor::quire::StoreManager::StartPayment(const std::string &)";
constexpr char kCheckPaymentResult[] =
    "ServerApi::Result saltmoor::quire::StoreManager::CheckPaymentResult()";
constexpr char kCheckOrderIfNeeded[] = "int saltmoor::quire::StoreManager::CheckOrderIfNeeded()";

constexpr LogPlace kPreparing{kSource, 591, kStartPayment};
constexpr LogPlace kCommitFailed{kSource, 593, kStartPayment};
constexpr LogPlace kNoPaymentPage{kSource, 599, kStartPayment};
constexpr LogPlace kStartingBrowser{kSource, 601, kStartPayment};
constexpr LogPlace kBrowserFailed{kSource, 605, kStartPayment};
constexpr LogPlace kPollFailed{kSource, 624, kCheckPaymentResult};
constexpr LogPlace kSubmitFailed{kSource, 645, kCheckPaymentResult};
constexpr LogPlace kCheckFailed{kSource, 664, kCheckOrderIfNeeded};

bool IsPaidInBrowser(const std::string& pay_method) {
  return pay_method == pay_methods::kCreditCard || pay_method == pay_methods::kPaypal;
}

void Connect() {
  if ((QueryNetwork() & kConnectedBits) == 0) NetConnect(nullptr);
}

}  // namespace

// Reports success whatever the server did: meant so. The cart that comes back tells.
std::tuple<ServerApi::Result, std::vector<Book>> StoreManager::CheckOut() {
  const FirstFailure::Call call(*failure_);
  NewSession(nullptr);

  std::map<std::string, int> wanted;
  for (unsigned int i = 0; i < cart_.GetSize(); ++i) {
    wanted[TextOf(cart_.GetItem(i), Book::kEan)] = 1;
  }
  const std::string order_id =
      std::get<std::string>(failure_->Checked(server_api_.AddArrayToCart(wanted)));

  const Cart old_cart = cart_;
  cart_ = std::get<Cart>(failure_->Checked(server_api_.GetCart(order_id)));
  cart_.SetItemsCurrency(TextOf(old_cart.GetItem(0), Book::kCurrency));

  std::vector<Book> dropped;
  for (const Book& item : old_cart.orderItems) {
    if (!cart_.IsContain(TextOf(item, Book::kEan))) dropped.push_back(item);
  }
  return {ServerApi::Result(ServerApi::kOk), std::move(dropped)};
}

ServerApi::Result StoreManager::StartPayment(const std::string& pay_method) {
  const FirstFailure::Call call(*failure_);
  pay_method_ = pay_method;
  Log(kLogTrace, kPreparing, "Starting PrepareOrder");
  const auto commit =
      failure_->Checked(server_api_.commitOrderForPayment(cart_.orderId, pay_method));
  if (commit.res.code_ != ServerApi::kOk) {
    Log(kLogError, kCommitFailed,
        FailedCondition("ServerApi::kOk == commit_res.res.code_", "commit_res.res"));
    return commit.res;
  }

  order_id_ = cart_.orderId;
  if (!IsPaidInBrowser(pay_method)) return commit.res;

  if (commit.url.empty()) {
    failure_->Record(Failure::kNoPaymentPage);
    Log(kLogError, kNoPaymentPage,
        FailedCondition("url.empty()", "ServerApi::Result(ServerApi::kFailed)"));
    return ServerApi::Result(ServerApi::kFailed);
  }
  Log(kLogTrace, kStartingBrowser, "Starting browser auth");
  Auth auth;
  if (auth.Run(commit.url, pay_method) != 0) {
    failure_->Record(Failure::kBrowser);
    Log(kLogError, kBrowserFailed,
        FailedCondition("SM_OK == err", "ServerApi::Result(ServerApi::kFailed)"));
    return ServerApi::Result(ServerApi::kFailed);
  }
  return commit.res;  // what the browser reported is not looked at: the store is the only judge
}

ServerApi::Result StoreManager::CheckPaymentResult() {
  const FirstFailure::Call call(*failure_);
  constexpr char kNotOk[] = "ServerApi::kOk == result.code_";

  bool paid = !IsPaidInBrowser(pay_method_);
  while (!paid) {
    Connect();
    const auto [result, check] = failure_->Checked(server_api_.CheckOrder(order_id_));
    if (result.code_ != ServerApi::kOk) {
      Log(kLogError, kPollFailed, FailedCondition(kNotOk, "result"));
      return result;
    }
    // "In Progress" fails at once, while even a success waits: both are meant so.
    if (check.status == ChekResult::kInProgress || check.status == ChekResult::kFailure) {
      failure_->Record(Failure::kPaymentFailed);
      return ServerApi::Result(ServerApi::kFailed);
    }
    usleep(kPollPeriod_us);
    paid = check.status == ChekResult::kSuccess;
  }

  auto [result, order] = failure_->Checked(server_api_.SubmitOrder(order_id_, pay_method_));
  if (result.code_ != ServerApi::kOk) {
    Log(kLogError, kSubmitFailed, FailedCondition(kNotOk, "result"));
    return result;
  }
  order_date_placed_ = std::move(order.order_date_placed);
  order_id_.clear();
  cart_.Clear();
  LoadPurchased();
  return result;
}

// Neither looks at the payment's state nor forgets the order: meant so.
int StoreManager::CheckOrderIfNeeded() {
  const FirstFailure::Call call(*failure_);
  if (order_id_.empty()) {
    failure_->Record(Failure::kNoPendingOrder);
    return -1;
  }
  Connect();
  const auto result =
      std::get<ServerApi::Result>(failure_->Checked(server_api_.CheckOrder(order_id_)));
  if (result.code_ != ServerApi::kOk) {
    Log(kLogError, kCheckFailed, FailedCondition("ServerApi::kOk == result.code_", "-1"));
    return -1;
  }
  LoadPurchased();
  return 0;
}

}  // namespace saltmoor::quire
