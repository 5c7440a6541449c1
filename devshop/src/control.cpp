#include "control.h"

#include "crypto.h"

namespace devshop {
namespace {

constexpr int kMaxPendingChecks = 1'000'000;

/// The path or method does not exist.
struct Unknown {};

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
  Json json;
  if (const std::string reason = CheckAccess(request, response); !reason.empty()) {
    return response.SetContent(ToString({{"error", reason}}), "application/json");
  }
  try {
    json = Dispatch(request);
  } catch (const InvalidInstruction& bad) {
    response.status = 400;
    json = {{"error", bad.what()}};
  } catch (const Json::exception& bad) {
    response.status = 400;
    json = {{"error", std::string("A value has the wrong type: ") + bad.what()}};
  } catch (const Unknown&) {
    response.status = 404;
    json = {{"error",
             "Available are GET, POST and DELETE /_faults, GET and DELETE /_requests, GET and POST "
             "/_orders, GET, POST and DELETE /_books."}};
  }
  response.SetContent(ToString(json), "application/json");
}

Json Control::Dispatch(const Request& request) {
  const std::string call = request.method + " " + request.path;
  if (call == "DELETE /_faults") faults_.Clear();
  if (call == "DELETE /_requests") log_.Clear();
  if (call == "DELETE /_books") files_.Restore();
  if (call == "GET /_faults" || call == "DELETE /_faults") return faults_.ToJson();
  if (call == "GET /_requests" || call == "DELETE /_requests") return log_.ToJson();
  if (call == "GET /_books" || call == "DELETE /_books") return files_.ToJson();
  if (call == "GET /_orders") return OrdersJson();
  if (request.method != "POST") throw Unknown{};
  const Json instruction = Json::parse(request.body, nullptr, false);
  if (instruction.is_discarded()) throw InvalidInstruction("The request's body is not JSON.");
  if (request.path == "/_faults") return faults_.Arm(instruction);
  if (request.path == "/_orders") return SetOrders(instruction);
  if (request.path == "/_books") return files_.Replace(instruction);
  throw Unknown{};
}

Json Control::SetOrders(const Json& instruction) {
  if (!instruction.is_object()) throw InvalidInstruction("An instruction is a JSON object.");
  {
    const std::lock_guard lock(shop_.mutex);
    for (const auto& [name, value] : instruction.items()) {
      if (name == "pending_checks") {
        if (!value.is_number_integer() || value < 0 || value > kMaxPendingChecks) {
          throw InvalidInstruction("\"pending_checks\" is an integer, 0 or more.");
        }
        shop_.orders.pending_checks = value.get<int>();
      } else if (name == "next_status") {
        if (value != "In Progress" && value != "Failure") {
          throw InvalidInstruction("\"next_status\" is \"In Progress\" or \"Failure\".");
        }
        shop_.orders.next_status = value.get<std::string>();
      } else {
        throw InvalidInstruction("Unknown field \"" + name +
                                 "\"; there are pending_checks and next_status.");
      }
    }
  }
  return OrdersJson();
}

Json Control::OrdersJson() {
  const std::lock_guard lock(shop_.mutex);
  Json json{{"pending_checks", shop_.orders.pending_checks}, {"orders", shop_.orders.ToJson()}};
  if (shop_.orders.next_status) json["next_status"] = *shop_.orders.next_status;
  return json;
}

}  // namespace devshop
