#include "control.h"

#include "crypto.h"

namespace devshop {
namespace {

constexpr int kMaxPendingChecks = 1'000'000;
constexpr char kEndpoints[] =
    "Available are GET, POST and DELETE /_faults, GET and DELETE /_requests, GET and POST "
    "/_orders, GET, POST and DELETE /_books.";

}  // namespace

Control::Control(Shop& shop, FileServer& files, FaultInjector& faults, RequestLog& log)
    : shop_(shop), files_(files), faults_(faults), log_(log), token_(RandomHex(16)) {}

std::string Control::CheckAccess(const Request& request, Response& response) const {
  const std::string host = request.GetHeader("Host");
  const std::string port = ":" + std::to_string(port_);
  if (host != "127.0.0.1" + port && host != "localhost" + port) {
    response.status = 403;
    return "The control port answers at 127.0.0.1" + port + " and localhost" + port + " only.";
  }
  if (!SecretsEqual(request.GetHeader("Authorization"), "Bearer " + token_)) {
    response.status = 401;
    response.SetHeader("WWW-Authenticate", "Bearer");
    return "Send the token that the shop printed at its start: Authorization: Bearer TOKEN.";
  }
  return "";
}

void Control::Handle(const Request& request, Response& response) {
  const auto set_error = [&](int status, const std::string& sentence) {
    response.status = status;
    response.SetContent(ToString({{"error", sentence}}), "application/json");
  };
  if (const std::string reason = CheckAccess(request, response); !reason.empty()) {
    return set_error(response.status, reason);
  }
  try {
    const auto json = Dispatch(request);
    if (!json) return set_error(404, kEndpoints);
    response.SetContent(ToString(*json), "application/json");
  } catch (const InvalidControlRequest& error) {
    set_error(400, error.what());
  } catch (const Json::exception& error) {
    set_error(400, std::string("A value has the wrong type: ") + error.what());
  }
}

std::optional<Json> Control::Dispatch(const Request& request) {
  const std::string call = request.method + " " + request.path;
  if (call == "DELETE /_faults") faults_.Clear();
  if (call == "DELETE /_requests") log_.Clear();
  if (call == "DELETE /_books") files_.Restore();
  if (call == "GET /_faults" || call == "DELETE /_faults") return faults_.ToJson();
  if (call == "GET /_requests" || call == "DELETE /_requests") return log_.ToJson();
  if (call == "GET /_books" || call == "DELETE /_books") return files_.ToJson();
  if (call == "GET /_orders") return OrdersToJson();
  if (request.method != "POST") return std::nullopt;
  const Json fields = Json::parse(request.body, nullptr, false);
  if (fields.is_discarded()) throw InvalidControlRequest("The request's body is not JSON.");
  if (request.path == "/_faults") return faults_.Arm(fields);
  if (request.path == "/_orders") return SetOrders(fields);
  if (request.path == "/_books") return files_.Replace(fields);
  return std::nullopt;
}

Json Control::SetOrders(const Json& fields) {
  if (!fields.is_object()) throw InvalidControlRequest("The request's body is not a JSON object.");
  {
    const std::lock_guard lock(shop_.mutex);
    for (const auto& [name, value] : fields.items()) {
      if (name == "pending_checks") {
        if (!value.is_number_integer() || value < 0 || value > kMaxPendingChecks) {
          throw InvalidControlRequest("\"pending_checks\" is an integer from 0 to " +
                                      std::to_string(kMaxPendingChecks) + ".");
        }
        shop_.orders.pending_checks = value.get<int>();
      } else if (name == "next_status") {
        if (value != "In Progress" && value != "Failure") {
          throw InvalidControlRequest("\"next_status\" is \"In Progress\" or \"Failure\".");
        }
        shop_.orders.next_status = value.get<std::string>();
      } else {
        throw InvalidControlRequest("Unknown field \"" + name +
                                    "\"; there are pending_checks and next_status.");
      }
    }
  }
  return OrdersToJson();
}

Json Control::OrdersToJson() {
  const std::lock_guard lock(shop_.mutex);
  Json json{{"pending_checks", shop_.orders.pending_checks}, {"orders", shop_.orders.ToJson()}};
  if (shop_.orders.next_status) json["next_status"] = *shop_.orders.next_status;
  return json;
}

}  // namespace devshop
