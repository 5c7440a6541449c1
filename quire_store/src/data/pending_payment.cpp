#include "pending_payment.h"

#include <unistd.h>

#include <utility>

#include "auth.h"
#include "log.h"
#include "pay_methods.h"
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

constexpr char kNotOk[] = "ServerApi::kOk == result.code_";

bool IsPaidInBrowser(const std::string& pay_method) {
  return pay_method == pay_methods::kCreditCard || pay_method == pay_methods::kPaypal;
}

// Shows the payment page, and knows whether the browser crashed or could not show it.
class PaymentPage : public Auth {
 public:
  bool failed() const { return failed_; }
  void BrowserError() override { failed_ = true; }

 private:
  bool failed_ = false;  // written by the session, which has ended when it is read
};

void Connect() {
  if ((QueryNetwork() & kConnectedBits) == 0) NetConnect(nullptr);
}

}  // namespace

ServerApi::Result PendingPayment::Start(const std::string& order_id,
                                        const std::string& pay_method) {
  pay_method_ = pay_method;
  Log(kLogTrace, kPreparing, "Starting PrepareOrder");
  const auto commit = failure_.RecordCall(server_api_.commitOrderForPayment(order_id, pay_method));
  if (commit.res.code_ != ServerApi::kOk) {
    LogEarlyReturn(kCommitFailed, "ServerApi::kOk == commit_res.res.code_", "commit_res.res");
    return commit.res;
  }

  order_id_ = order_id;
  if (!IsPaidInBrowser(pay_method)) return commit.res;

  if (commit.url.empty()) {
    failure_.Record(Failure::kNoPaymentPage);
    LogEarlyReturn(kNoPaymentPage, "url.empty()", "ServerApi::Result(ServerApi::kFailed)");
    return ServerApi::Result(ServerApi::kFailed);
  }
  Log(kLogTrace, kStartingBrowser, "Starting browser auth");
  PaymentPage page;
  const int err = page.Run(commit.url, pay_method);
  if (err != 0 || page.failed()) failure_.Record(Failure::kBrowser);
  if (err != 0) {
    LogEarlyReturn(kBrowserFailed, "SM_OK == err", "ServerApi::Result(ServerApi::kFailed)");
    return ServerApi::Result(ServerApi::kFailed);
  }
  // Compatibility: only the shop knows whether the order was paid, whatever the browser showed.
  return commit.res;
}

ServerApi::Result PendingPayment::Complete() {
  bool paid = !IsPaidInBrowser(pay_method_);
  while (!paid) {
    Connect();
    const auto [result, check] = failure_.RecordCall(server_api_.CheckOrder(order_id_));
    if (result.code_ != ServerApi::kOk) {
      LogEarlyReturn(kPollFailed, kNotOk, "result");
      return result;
    }
    // Compatibility: "In Progress" fails at once, while even a success waits.
    if (check.status == ChekResult::kInProgress || check.status == ChekResult::kFailure) {
      failure_.Record(Failure::kPaymentFailed);
      return ServerApi::Result(ServerApi::kFailed);
    }
    usleep(kPollPeriod_us);
    paid = check.status == ChekResult::kSuccess;
  }

  auto [result, order] = failure_.RecordCall(server_api_.SubmitOrder(order_id_, pay_method_));
  if (result.code_ != ServerApi::kOk) {
    LogEarlyReturn(kSubmitFailed, kNotOk, "result");
    return result;
  }
  order_date_placed_ = std::move(order.order_date_placed);
  order_id_.clear();
  return result;
}

// Compatibility: the payment's state does not count, and the order stays pending.
bool PendingPayment::Check() {
  if (order_id_.empty()) {
    failure_.Record(Failure::kNoPendingOrder);
    return false;
  }
  Connect();
  const auto result =
      std::get<ServerApi::Result>(failure_.RecordCall(server_api_.CheckOrder(order_id_)));
  if (result.code_ != ServerApi::kOk) {
    LogEarlyReturn(kCheckFailed, kNotOk, "-1");
    return false;
  }
  return true;
}

}  // namespace saltmoor::quire
