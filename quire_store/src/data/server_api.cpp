#include "server_api.h"

#include <optional>
#include <string_view>
#include <utility>

#include "addresses.h"
#include "json_access.h"
#include "json_locale.h"
#include "json_text.h"
#include "log.h"
#include "pay_methods.h"
#include "saltmoor/utilities/http_request.h"
#include "saltmoor/utilities/http_request_runner.h"
#include "saltmoor/utilities/signature.h"
#include "saltmoor/utilities/tev_utilities.h"
#include "tabulet.h"

namespace saltmoor::quire {
namespace {

using utilities::HttpRequest;

constexpr unsigned kTimeout_s = 30;
constexpr char kSigningData[] = "Tw3kH-pL";
constexpr char kSource[] = "quire_store/src/data/server_api";

// What tells one call from another: its path, and how the log names it.
struct Call {
  const char* path;
  int line;
  const char* function;
  const char* returned;
  const char* error_text_key = "ErrorMsg";
  bool answers_with_list = false;
};

constexpr Call kCallSwitchboard{"", 121,
                                "std::tuple<Result, SwitchboardConfig> "
                                "saltmoor::quire::ServerApi::CallSwitchboard(const std::string &)",
                                "make_tuple(Result(kFailed), SwitchboardConfig())"};
constexpr Call kLogIn{
    "/login", 163,
    "Result saltmoor::quire::ServerApi::LogIn(const std::string &, const std::string &)",
    "Result(kFailed)"};
constexpr Call kLogOut{"/logout", 196, "Result saltmoor::quire::ServerApi::LogOut()",
                       "Result(kFailed)"};
constexpr Call kRegister{
    "/registerUser", 227,
    "Result saltmoor::quire::ServerApi::Register(const std::string &, const std::string &, "
    "const std::string &, const std::string &, const std::string &)",
    "Result(kFailed)"};
constexpr Call kGetCart{
    "/getCart", 256,
    "std::tuple<Result, Cart> saltmoor::quire::ServerApi::GetCart(const std::string &)",
    "make_tuple(Result(kFailed), cart)"};
constexpr Call kAddToCart{"/addToCart", 284,
                          "std::tuple<Result, std::string> "
                          "saltmoor::quire::ServerApi::AddToCart(const std::string &, int)",
                          "make_tuple(Result(kFailed), std::string())"};
constexpr Call kAddArrayToCart{
    "/addToCart", 321,
    "std::tuple<Result, std::string> "
    "saltmoor::quire::ServerApi::AddArrayToCart(const std::map<std::string, int>)",
    "make_tuple(Result(kFailed), std::string())"};
constexpr Call kCheckOrder{
    "/checkOrder", 380,
    "std::tuple<Result, ChekResult> saltmoor::quire::ServerApi::CheckOrder(const std::string &)",
    "make_tuple(Result(kFailed), check_result)"};
constexpr Call kCommitOrderForPayment{
    "/commitOrderForPayment", 417,
    "CommitOrderResult saltmoor::quire::ServerApi::commitOrderForPayment(const std::string &, "
    "const std::string &)",
    "result"};
constexpr Call kGetUserEbook{
    "/getUserEbook",
    458,
    "std::tuple<Result, std::vector<Book>> saltmoor::quire::ServerApi::GetUserEbook()",
    "make_tuple(Result(kFailed), books)",
    "errorMsg",  // the one call whose key begins in lower case
    true};
constexpr Call kSubmitOrder{
    "/submitOrder", 494,
    "std::tuple<Result, Order> "
    "saltmoor::quire::ServerApi::SubmitOrder(const std::string &, const std::string &)",
    "make_tuple(Result(kFailed), order)"};
constexpr Call kGetUserData{
    "/getUserData", 521, "std::tuple<Result, UserData> saltmoor::quire::ServerApi::GetUserData()",
    "make_tuple(Result(kFailed), user_data)"};

// Performs a request and reads its answer; nothing when there is none with status 200.
std::optional<Json::Value> Perform(HttpRequest& request, const Call& call, Failure* failure) {
  *failure = Failure();
  request.SetFollowRedirects(true);
  long status = 0;
  std::vector<char> body;
  const int err =
      utilities::HttpRequestRunner().PerformRequest(request, &status, &body, kTimeout_s);
  if (err != 0) {
    Log(kLogError, {kSource, call.line, call.function}, FailedCondition("0 == err", call.returned));
    *failure = {Failure::kNetwork, err, 0, {}};
    return std::nullopt;
  }
  if (status != 200) {
    *failure = {Failure::kHttpStatus, 0, static_cast<int>(status), {}};
    return std::nullopt;
  }
  Json::Value answer;
  const bool is_json = ParseJson({body.data(), body.size()}, answer);
  if (!is_json || !answer.isObject()) failure->kind = Failure::kUnreadableAnswer;
  return answer;
}

// One call to the store: its fields in the order sent, and then its answer.
class StoreRequest {
 public:
  struct Answer {
    ServerApi::Result result;
    Json::Value response;  // null unless the store took the call

    bool ok() const { return result.code_ == ServerApi::kOk; }
  };

  StoreRequest(const Call& call, Failure* failure)
      : call_(call),
        failure_(failure),
        request_("POST", std::string(addresses::kStoreApi) + call.path) {}

  template <typename Value>
  StoreRequest& With(const std::string& key, const Value& value) {
    request_.AddPostParam(key, value);
    return *this;
  }

  Answer Send() {
    const auto json = Perform(request_, call_, failure_);
    if (!json) return {ServerApi::Result(ServerApi::kFailed), {}};
    const Json::Value& response = Member(*json, "response");
    if (ToString(Member(*json, "error")) == "true") {
      *failure_ = {Failure::kRefused, 0, 0, ToString(Member(response, call_.error_text_key))};
      return {{ServerApi::kFailed, failure_->message}, {}};
    }
    if (call_.answers_with_list && !response.isArray()) failure_->kind = Failure::kUnreadableAnswer;
    return {ServerApi::Result(ServerApi::kOk), response};
  }

 private:
  const Call& call_;
  Failure* const failure_;
  HttpRequest request_;
};

std::string SigningKey() {
  utilities::TevUtilities::SetSha0Data(kSigningData);
  return utilities::TevUtilities::SHA0BadCrypt();
}

// The JSON library's own conversion, which numbers and booleans survive; it throws for the rest.
std::string AsString(const Json::Value& value) {
  const DecimalPoints decimal_points;
  return value.isArray() || value.isObject() ? std::string() : value.asString();
}

}  // namespace

std::tuple<ServerApi::Result, SwitchboardConfig> ServerApi::CallSwitchboard(
    const std::string& url) {
  HttpRequest request("GET", url);
  request.AddGetParam("device_sn", std::string(GetSerialNumber()));
  request.AddGetParam("nonce", utilities::Signature::GenerateNonce());
  request.AddGetParam("client_signature",
                      utilities::Signature::CreateSignature(request, "", SigningKey()));
  const auto answer = Perform(request, kCallSwitchboard, &last_failure_);
  if (!answer) return {Result(kFailed), SwitchboardConfig()};
  return {Result(kOk), SwitchboardConfig::Parse(*answer)};
}

ServerApi::Result ServerApi::LogIn(const std::string& user, const std::string& password) {
  const auto answer = StoreRequest(kLogIn, &last_failure_)
                          .With("username", user)
                          .With("password", password)
                          .With("storeId", config_[SwitchboardConfig::kStoreId])
                          .Send();
  if (answer.ok()) session_id_ = ToString(Member(answer.response, "opdsSessionId"));
  return answer.result;
}

ServerApi::Result ServerApi::LogOut() {
  if (session_id_.empty()) {
    last_failure_ = Failure();
    return Result(kOk);
  }
  constexpr char kStoreIdKey[] = " storeId";  // the blank is meant
  const auto answer = StoreRequest(kLogOut, &last_failure_)
                          .With("opdsSessionId", session_id_)
                          .With(kStoreIdKey, config_[SwitchboardConfig::kStoreId])
                          .Send();
  if (answer.ok()) session_id_.clear();
  return answer.result;
}

ServerApi::Result ServerApi::Register(const std::string& email, const std::string& password,
                                      const std::string& name, const std::string& lastname,
                                      const std::string& title) {
  auto answer = StoreRequest(kRegister, &last_failure_)
                    .With("email", email)
                    .With("password", password)
                    .With("storeId", config_[SwitchboardConfig::kStoreId])
                    .With("name", name)
                    .With("lastname", lastname)
                    .With("title", title)
                    .Send();
  if (answer.ok()) answer.result.message_ = ToString(Member(answer.response, "successMsg"));
  return answer.result;
}

std::tuple<ServerApi::Result, Cart> ServerApi::GetCart(const std::string& orderId) {
  const auto answer = StoreRequest(kGetCart, &last_failure_)
                          .With("opdsSessionId", session_id_)
                          .With("storeId", config_[SwitchboardConfig::kStoreId])
                          .With("orderId", orderId)
                          .Send();
  Cart cart;
  if (answer.ok()) cart.FromJson(answer.response);
  return {answer.result, std::move(cart)};
}

std::tuple<ServerApi::Result, std::string> ServerApi::AddToCart(const std::string& ean,
                                                                int quantity) {
  const auto answer = StoreRequest(kAddToCart, &last_failure_)
                          .With("opdsSessionId", session_id_)
                          .With("storeId", config_[SwitchboardConfig::kStoreId])
                          .With("ean_0", ean)
                          .With("quantity_0", quantity)
                          .Send();
  return {answer.result, ToString(Member(answer.response, "orderId"))};
}

std::tuple<ServerApi::Result, std::string> ServerApi::AddArrayToCart(
    std::map<std::string, int> items) {
  StoreRequest request(kAddArrayToCart, &last_failure_);
  request.With("opdsSessionId", session_id_).With("storeId", config_[SwitchboardConfig::kStoreId]);
  int i = 0;
  for (const auto& [ean, quantity] : items) {
    const std::string number = int_to_string(i++);
    request.With("ean_" + number, ean).With("quantity_" + number, quantity);
  }
  const auto answer = request.Send();
  return {answer.result, ToString(Member(answer.response, "orderId"))};
}

std::tuple<ServerApi::Result, ChekResult> ServerApi::CheckOrder(const std::string& order_id) {
  const auto answer = StoreRequest(kCheckOrder, &last_failure_)
                          .With("orderId", order_id)
                          .With("storeId", config_[SwitchboardConfig::kStoreId])
                          .With("opdsSessionId", session_id_)
                          .Send();
  ChekResult check{};
  if (answer.ok()) check.FromJson(answer.response);
  return {answer.result, check};
}

ServerApi::CommitOrderResult ServerApi::commitOrderForPayment(const std::string& order_id,
                                                              const std::string& pay_method) {
  StoreRequest request(kCommitOrderForPayment, &last_failure_);
  request.With("opdsSessionId", session_id_)
      .With("orderId", order_id)
      .With("storeId", config_[SwitchboardConfig::kStoreId])
      .With("paymethod", pay_method);
  if (pay_method == pay_methods::kCreditCard) {
    request.With("success_url", std::string(addresses::kPaymentSuccess))
        .With("cancel_url", std::string(addresses::kPaymentCancel));
  }
  const auto answer = request.Send();
  return {answer.result, ToString(Member(answer.response, "status")),
          AsString(Member(answer.response, "url"))};
}

std::tuple<ServerApi::Result, std::vector<Book>> ServerApi::GetUserEbook() {
  const auto answer = StoreRequest(kGetUserEbook, &last_failure_)
                          .With("opdsSessionId", session_id_)
                          .With("storeId", config_[SwitchboardConfig::kStoreId])
                          .Send();
  std::vector<Book> books;
  if (answer.response.isArray()) {
    for (const Json::Value& item : answer.response) books.push_back(Book::FromJson(item));
  }
  return {answer.result, std::move(books)};
}

std::tuple<ServerApi::Result, Order> ServerApi::SubmitOrder(const std::string& order_id,
                                                            const std::string& pay_method) {
  StoreRequest request(kSubmitOrder, &last_failure_);
  request.With("orderId", order_id)
      .With("storeId", config_[SwitchboardConfig::kStoreId])
      .With("opdsSessionId", session_id_);
  if (pay_method == pay_methods::kCreditCard) request.With("paymethod", pay_method);
  const auto answer = request.Send();
  Order order;
  if (answer.ok()) order.FromJson(answer.response);
  return {answer.result, std::move(order)};
}

std::tuple<ServerApi::Result, UserData> ServerApi::GetUserData() {
  const auto answer = StoreRequest(kGetUserData, &last_failure_)
                          .With("storeId", config_[SwitchboardConfig::kStoreId])
                          .With("opdsSessionId", session_id_)
                          .Send();
  return {answer.result, UserData::FromJson(answer.response)};
}

void ServerApi::SetConfig(const SwitchboardConfig& config) {
  config_ = config;
}

void ServerApi::SetSessionId(const std::string& session_id) {
  session_id_ = session_id;
}

const std::string& ServerApi::GetSessionId() const {
  return session_id_;
}

const SwitchboardConfig& ServerApi::GetConfig() const {
  return config_;
}

const Failure& ServerApi::GetLastFailure() const {
  return last_failure_;
}

std::string int_to_string(int value) {
  return std::to_string(value);
}

}  // namespace saltmoor::quire
