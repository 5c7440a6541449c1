#ifndef QUIRE_SERVER_API_H_
#define QUIRE_SERVER_API_H_

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "book.h"
#include "cart.h"
#include "chek_result.h"
#include "failure.h"
#include "order.h"
#include "quire_export.h"
#include "switchboard_config.h"
#include "user_data.h"

namespace saltmoor::quire {

/// The client of the shop's server. StoreManager uses one; an application may use another.
///
/// Each call sends one request, never repeated, and waits up to 30 seconds for the response. Not
/// thread-safe. A call fails with an empty message when there is no response or its status is not
/// 200, and with the server's message when the server refused; the returned record is then a
/// default one. A 200 response that is not JSON is a success with an empty record. GetLastFailure
/// has the reason in every case. No call throws because of a response.
class QUIRE_EXPORT ServerApi {
 public:
  /// Result codes.
  enum Code {
    kOk = 0,
    kFailed = 1,
  };

  /// The result of a call.
  struct Result {
    /// A Code converts to a result.
    // NOLINTNEXTLINE(google-explicit-constructor): callers return a Code as a result
    Result(int code = kOk, std::string message = std::string())
        : code_(code), message_(std::move(message)) {}

    int code_;             ///< kOk or kFailed
    std::string message_;  ///< the server's message for the user; often empty
  };

  /// The result of commitOrderForPayment. The strings are empty after a failure.
  struct CommitOrderResult {
    Result res{kFailed};  ///< as for every other call
    std::string status;   ///< the order's state as the server sent it; not interpreted
    std::string url;      ///< the address of the payment page
  };

  /// Fetches the shop's configuration from the configuration service at `url` with a signed
  /// request. Does not call SetConfig.
  std::tuple<Result, SwitchboardConfig> CallSwitchboard(const std::string& url);

  /// Logs in. On success the following calls send the new session.
  Result LogIn(const std::string& user, const std::string& password);

  /// Ends the session on the server and, on success, here. Without a session it returns kOk and
  /// sends no request.
  Result LogOut();

  /// Registers a new customer without logging in. On success the message is the server's, for the
  /// user.
  Result Register(const std::string& email, const std::string& password, const std::string& name,
                  const std::string& lastname, const std::string& title);

  /// Fetches the server's cart of an order.
  std::tuple<Result, Cart> GetCart(const std::string& orderId);

  /// Puts one title into the server's cart.
  /// \param quantity  sent unchanged.
  /// \return the order id of the server's cart.
  std::tuple<Result, std::string> AddToCart(const std::string& ean, int quantity);

  /// Puts several titles into the server's cart.
  /// \param items  EAN to quantity; may be empty.
  /// \return the order id of the server's cart.
  std::tuple<Result, std::string> AddArrayToCart(std::map<std::string, int> items);

  /// Fetches the state of an order's payment.
  std::tuple<Result, ChekResult> CheckOrder(const std::string& order_id);

  /// Commits an order for payment.
  /// \param pay_method  "PAYPAL" or "CCARD"; any other string is sent unchanged.
  // Compatibility: applications are compiled against this spelling.
  CommitOrderResult commitOrderForPayment(const std::string& order_id,
                                          const std::string& pay_method);

  /// Submits a paid order.
  std::tuple<Result, Order> SubmitOrder(const std::string& order_id, const std::string& pay_method);

  /// Fetches the e-books that the user has bought.
  std::tuple<Result, std::vector<Book>> GetUserEbook();

  /// Fetches the customer's profile.
  std::tuple<Result, UserData> GetUserData();

  /// Sets the configuration that determines the store id of every call.
  void SetConfig(const SwitchboardConfig& config);

  /// Sets the session that calls send; empty for none.
  void SetSessionId(const std::string& session_id);

  /// The session that calls send; valid until the next LogIn, LogOut or SetSessionId.
  const std::string& GetSessionId() const;

  /// The configuration that SetConfig set; valid until the next SetConfig.
  const SwitchboardConfig& GetConfig() const;

  /// Why the last call failed, also when its result is kOk with an empty record; kNone after
  /// success. Valid until the next call.
  const Failure& GetLastFailure() const;

 private:
  SwitchboardConfig config_;
  std::string session_id_;
  Failure last_failure_;
};

/// The decimal digits of an integer, in every locale. Thread-safe.
QUIRE_EXPORT std::string int_to_string(int value);

}  // namespace saltmoor::quire

#endif  // QUIRE_SERVER_API_H_
