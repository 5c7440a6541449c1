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

/// The client of the shop's server: one call, one request. StoreManager uses it; an application may
/// use one of its own as well.
///
/// Every call waits for the answer, at most 30 seconds, on the caller's thread. An object belongs
/// on one thread at a time. No call repeats a request, and no answer makes one throw. A call fails
/// with an empty message when the server could not be reached or answered another status than 200,
/// and with the server's text when it refused. A 200 answer that is no JSON counts as success with
/// nothing in it. Beside a failed result the record is a default one.
class QUIRE_EXPORT ServerApi {
 public:
  /// How a call ended.
  enum Code {
    kOk = 0,
    kFailed = 1,
  };

  /// The outcome of a call, and of several calls of StoreManager.
  struct Result {
    /// Success unless `code` says otherwise. A Code alone will do.
    // NOLINTNEXTLINE(google-explicit-constructor): meant so
    Result(int code = kOk, std::string message = std::string())
        : code_(code), message_(std::move(message)) {}

    int code_;             ///< kOk or kFailed
    std::string message_;  ///< the server's text for the user; mostly empty
  };

  /// What commitOrderForPayment gives. The texts are empty beside a failed result.
  struct CommitOrderResult {
    Result res{kFailed};  ///< as of every other call
    std::string status;   ///< the server's word for the order's state; only passed on
    std::string url;      ///< where the user pays
  };

  /// Fetches the shop's configuration from the configuration service at `url` with a signed
  /// request. The configuration is returned, not taken over: see SetConfig.
  std::tuple<Result, SwitchboardConfig> CallSwitchboard(const std::string& url);

  /// Logs in; on success the new session serves the calls that follow.
  Result LogIn(const std::string& user, const std::string& password);

  /// Ends the session on the server and, on success, here. Without a session: kOk, no request.
  Result LogOut();

  /// Registers a new customer. It does not log in. On success the message is the server's text for
  /// the user.
  Result Register(const std::string& email, const std::string& password, const std::string& name,
                  const std::string& lastname, const std::string& title);

  /// The server's cart of an order.
  std::tuple<Result, Cart> GetCart(const std::string& orderId);

  /// Puts one title into the server's cart.
  /// \param quantity  sent as it is.
  /// \return the order id of the server's cart.
  std::tuple<Result, std::string> AddToCart(const std::string& ean, int quantity);

  /// Puts several titles into the server's cart.
  /// \param items  EAN to quantity; may be empty.
  /// \return the order id of the server's cart.
  std::tuple<Result, std::string> AddArrayToCart(std::map<std::string, int> items);

  /// The state of an order's payment. On failure the state is not set.
  std::tuple<Result, ChekResult> CheckOrder(const std::string& order_id);

  /// Commits an order for payment. (The name's spelling is part of the interface.)
  /// \param pay_method  "PAYPAL" or "CCARD"; another text is sent as it stands.
  CommitOrderResult commitOrderForPayment(const std::string& order_id,
                                          const std::string& pay_method);

  /// Finishes a paid order.
  std::tuple<Result, Order> SubmitOrder(const std::string& order_id, const std::string& pay_method);

  /// The e-books that the user has bought. Here a refusal's text is in "errorMsg".
  std::tuple<Result, std::vector<Book>> GetUserEbook();

  /// The customer's profile.
  std::tuple<Result, UserData> GetUserData();

  /// The configuration that names the store in every call; none until it is set.
  void SetConfig(const SwitchboardConfig& config);

  /// Sets the session sent with every call that needs one; empty: not logged in.
  void SetSessionId(const std::string& session_id);

  /// That session, as LogIn, LogOut or SetSessionId left it; valid until the next of them.
  const std::string& GetSessionId() const;

  /// The configuration in force, as SetConfig left it; valid until the next SetConfig.
  const SwitchboardConfig& GetConfig() const;

  /// Why the last call failed, also where its result is kOk with nothing in it; empty after
  /// success. Valid until the next call.
  const Failure& GetLastFailure() const;

 private:
  SwitchboardConfig config_;
  std::string session_id_;
  Failure last_failure_;
};

/// The decimal text of an integer, whatever the locale. Any thread.
QUIRE_EXPORT std::string int_to_string(int value);

}  // namespace saltmoor::quire

#endif  // QUIRE_SERVER_API_H_
