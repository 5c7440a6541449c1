#include "server_api.h"

#include <optional>
#include <utility>

#include "addresses.h"
#include "book_list.h"
#include "json.h"
#include "log.h"
#include "pay_methods.h"
#include "saltmoor/utilities/http_request.h"
#include "saltmoor/utilities/http_request_runner.h"
#include "saltmoor/utilities/signature.h"
#include "saltmoor/utilities/tev_utilities.h"
#include "server_calls.h"
#include "switchboard_config_fields.h"
#include "tabulet.h"

namespace saltmoor::quire {
namespace {

using utilities::HttpRequest;

constexpr unsigned kTimeout_s = 30;
constexpr char kSigningData[] = "Tw3kH-pL";

void LogTransportError(const ServerCall& call) {
  const std::string function =
      std::string(call.return_type) + " saltmoor::quire::ServerApi::" + call.signature;
  LogEarlyReturn({"quire_store/src/data/server_api", call.log_line, function.c_str()}, "0 == err",
                 call.returned);
}

// Performs a request; returns the body of its response, nothing when there is none with status 200.
// \param failure  receives why there is no response; empty when there is one.
std::optional<std::vector<char>> Perform(HttpRequest& request, const ServerCall& call,
                                         Failure* failure) {
  *failure = Failure();
  request.SetFollowRedirects(true);
  long status = 0;
  std::vector<char> body;
  const int err =
      utilities::HttpRequestRunner().PerformRequest(request, &status, &body, kTimeout_s);
  if (err != 0) {
    LogTransportError(call);
    *failure = {Failure::kNetwork, err, 0, {}};
    return std::nullopt;
  }
  if (status != 200) {
    *failure = {Failure::kHttpStatus, 0, static_cast<int>(status), {}};
    return std::nullopt;
  }
  return body;
}

// \param failure  receives kUnreadableResponse when there is nothing to read.
Json::Value Parse(const std::vector<char>& body, Failure* failure) {
  Json::Value json;
  // Compatibility: an unreadable response is a success with nothing in it.
  const bool is_json = ParseJson({body.data(), body.size()}, json);
  if (!is_json || !json.isObject()) failure->kind = Failure::kUnreadableResponse;
  return json;
}

// One call of the shop: its parameters in the order sent, then its response.
class StoreRequest {
 public:
  struct Response {
    ServerApi::Result result;
    Json::Value content;  // its member "response"; null after a failure

    bool ok() const { return result.code_ == ServerApi::kOk; }
  };

  StoreRequest(const ServerCall& call, Failure* failure)
      : call_(call),
        failure_(failure),
        request_("POST", std::string(addresses::kStoreApi) + call.path) {}

  template <typename Value>
  StoreRequest& With(const std::string& key, const Value& value) {
    request_.AddPostParam(key, value);
    return *this;
  }

  Response Send() {
    const auto body = Perform(request_, call_, failure_);
    if (!body) return {ServerApi::Result(ServerApi::kFailed), {}};
    return Read(*body);
  }

  std::tuple<ServerApi::Result, std::vector<Book>> SendForBooks() {
    auto body = Perform(request_, call_, failure_);
    if (!body) return {ServerApi::Result(ServerApi::kFailed), {}};
    if (auto list = ReadBookList(*body)) {
      return {ServerApi::Result(ServerApi::kOk), std::move(*list)};
    }
    const Response response = Read(*body);
    std::vector<Book> books;
    if (!response.content.isArray()) {
      if (response.ok()) failure_->kind = Failure::kUnreadableResponse;
      return {response.result, std::move(books)};
    }
    for (const Json::Value& item : response.content) books.push_back(Book::FromJson(item));
    return {response.result, std::move(books)};
  }

 private:
  Response Read(const std::vector<char>& body) {
    const Json::Value json = Parse(body, failure_);
    const Json::Value& content = GetMember(json, "response");
    // Compatibility: only true, as a string or a boolean, is a refusal.
    if (ToString(GetMember(json, "error")) == "true") {
      *failure_ = {Failure::kRefused, 0, 0, ToString(GetMember(content, call_.error_text_key))};
      return {{ServerApi::kFailed, failure_->message}, {}};
    }
    return {ServerApi::Result(ServerApi::kOk), content};
  }

  const ServerCall& call_;
  Failure* const failure_;
  HttpRequest request_;
};

std::string SigningKey() {
  utilities::TevUtilities::SetSha0Data(kSigningData);
  return utilities::TevUtilities::SHA0BadCrypt();
}

}  // namespace

std::tuple<ServerApi::Result, SwitchboardConfig> ServerApi::CallSwitchboard(
    const std::string& url) {
  HttpRequest request("GET", url);
  request.AddGetParam("device_sn", std::string(GetSerialNumber()));
  request.AddGetParam("nonce", utilities::Signature::GenerateNonce());
  request.AddGetParam("client_signature",
                      utilities::Signature::CreateSignature(request, "", SigningKey()));
  const auto body = Perform(request, server_calls::kCallSwitchboard, &last_failure_);
  if (!body) return {Result(kFailed), SwitchboardConfig()};
  auto config = SwitchboardConfig::Parse(Parse(*body, &last_failure_));
  if (IsEmpty(config)) last_failure_.kind = Failure::kUnreadableResponse;
  return {Result(kOk), std::move(config)};
}

ServerApi::Result ServerApi::LogIn(const std::string& user, const std::string& password) {
  const auto response = StoreRequest(server_calls::kLogIn, &last_failure_)
                            .With("username", user)
                            .With("password", password)
                            .With("storeId", config_[SwitchboardConfig::kStoreId])
                            .Send();
  // Compatibility: a response without a session is a success.
  if (response.ok()) session_id_ = ToString(GetMember(response.content, "opdsSessionId"));
  return response.result;
}

ServerApi::Result ServerApi::LogOut() {
  if (session_id_.empty()) {
    last_failure_ = Failure();
    return Result(kOk);
  }
  // Compatibility: the shop's log-out reads the key with the leading blank.
  constexpr char kStoreIdKey[] = " storeId";
  const auto response = StoreRequest(server_calls::kLogOut, &last_failure_)
                            .With("opdsSessionId", session_id_)
                            .With(kStoreIdKey, config_[SwitchboardConfig::kStoreId])
                            .Send();
  if (response.ok()) session_id_.clear();
  return response.result;
}

ServerApi::Result ServerApi::Register(const std::string& email, const std::string& password,
                                      const std::string& name, const std::string& lastname,
                                      const std::string& title) {
  auto response = StoreRequest(server_calls::kRegister, &last_failure_)
                      .With("email", email)
                      .With("password", password)
                      .With("storeId", config_[SwitchboardConfig::kStoreId])
                      .With("name", name)
                      .With("lastname", lastname)
                      .With("title", title)
                      .Send();
  if (response.ok()) response.result.message_ = ToString(GetMember(response.content, "successMsg"));
  return response.result;
}

std::tuple<ServerApi::Result, Cart> ServerApi::GetCart(const std::string& orderId) {
  const auto response = StoreRequest(server_calls::kGetCart, &last_failure_)
                            .With("opdsSessionId", session_id_)
                            .With("storeId", config_[SwitchboardConfig::kStoreId])
                            .With("orderId", orderId)
                            .Send();
  Cart cart;
  if (response.ok()) cart.FromJson(response.content);
  return {response.result, std::move(cart)};
}

std::tuple<ServerApi::Result, std::string> ServerApi::AddToCart(const std::string& ean,
                                                                int quantity) {
  const auto response = StoreRequest(server_calls::kAddToCart, &last_failure_)
                            .With("opdsSessionId", session_id_)
                            .With("storeId", config_[SwitchboardConfig::kStoreId])
                            .With("ean_0", ean)
                            .With("quantity_0", quantity)
                            .Send();
  return {response.result, ToString(GetMember(response.content, "orderId"))};
}

std::tuple<ServerApi::Result, std::string> ServerApi::AddArrayToCart(
    std::map<std::string, int> items) {
  StoreRequest request(server_calls::kAddArrayToCart, &last_failure_);
  request.With("opdsSessionId", session_id_).With("storeId", config_[SwitchboardConfig::kStoreId]);
  int i = 0;
  for (const auto& [ean, quantity] : items) {
    const std::string number = int_to_string(i++);
    request.With("ean_" + number, ean).With("quantity_" + number, quantity);
  }
  const auto response = request.Send();
  return {response.result, ToString(GetMember(response.content, "orderId"))};
}

std::tuple<ServerApi::Result, ChekResult> ServerApi::CheckOrder(const std::string& order_id) {
  const auto response = StoreRequest(server_calls::kCheckOrder, &last_failure_)
                            .With("orderId", order_id)
                            .With("storeId", config_[SwitchboardConfig::kStoreId])
                            .With("opdsSessionId", session_id_)
                            .Send();
  ChekResult check{};
  if (response.ok()) check.FromJson(response.content);
  return {response.result, check};
}

ServerApi::CommitOrderResult ServerApi::commitOrderForPayment(const std::string& order_id,
                                                              const std::string& pay_method) {
  StoreRequest request(server_calls::kCommitOrderForPayment, &last_failure_);
  request.With("opdsSessionId", session_id_)
      .With("orderId", order_id)
      .With("storeId", config_[SwitchboardConfig::kStoreId])
      .With("paymethod", pay_method);
  if (pay_method == pay_methods::kCreditCard) {
    request.With("success_url", std::string(addresses::kPaymentSuccess))
        .With("cancel_url", std::string(addresses::kPaymentCancel));
  }
  const auto response = request.Send();
  // Compatibility: the URL alone is converted by jsoncpp.
  return {response.result, ToString(GetMember(response.content, "status")),
          ConvertToString(GetMember(response.content, "url"))};
}

std::tuple<ServerApi::Result, std::vector<Book>> ServerApi::GetUserEbook() {
  return StoreRequest(server_calls::kGetUserEbook, &last_failure_)
      .With("opdsSessionId", session_id_)
      .With("storeId", config_[SwitchboardConfig::kStoreId])
      .SendForBooks();
}

std::tuple<ServerApi::Result, Order> ServerApi::SubmitOrder(const std::string& order_id,
                                                            const std::string& pay_method) {
  StoreRequest request(server_calls::kSubmitOrder, &last_failure_);
  request.With("orderId", order_id)
      .With("storeId", config_[SwitchboardConfig::kStoreId])
      .With("opdsSessionId", session_id_);
  // Compatibility: the pay method is sent for CCARD only.
  if (pay_method == pay_methods::kCreditCard) request.With("paymethod", pay_method);
  const auto response = request.Send();
  Order order;
  if (response.ok()) order.FromJson(response.content);
  return {response.result, std::move(order)};
}

std::tuple<ServerApi::Result, UserData> ServerApi::GetUserData() {
  const auto response = StoreRequest(server_calls::kGetUserData, &last_failure_)
                            .With("storeId", config_[SwitchboardConfig::kStoreId])
                            .With("opdsSessionId", session_id_)
                            .Send();
  return {response.result, UserData::FromJson(response.content)};
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
