#include "gate.h"

#include "store_api.h"

namespace devshop {
namespace {

constexpr int kHang_ms = 60'000;
constexpr int kDrip_ms = 100;

Mishap::Kind mishap_kind(const std::string& fault) {
  if (fault == "truncate") return Mishap::Kind::kTruncate;
  if (fault == "slow") return Mishap::Kind::kSlow;
  return fault == "reset" ? Mishap::Kind::kReset : Mishap::Kind::kNone;
}

void ReplaceResponse(const Fault& fault, const std::string& content_type, Response& response) {
  std::string type = content_type;
  for (const auto& [name, value] : fault.headers.items()) {
    if (name == "Content-Type") {
      type = value.get<std::string>();
    } else {
      response.set_header(name, value.get<std::string>());
    }
  }
  response.set_content(fault.body.value_or(""), type);
}

}  // namespace

void Gate::pass(const Request& request, Response& response, Connection& connection) {
  ledger_.Add(port_, connection.number(), request);
  if (const auto fault = faults_.Take(request.path)) {
    ledger_.SetFault(connection.number(), fault->kind);
    meet(*fault, request, response, connection);
  } else {
    site_(request, response);
  }
}

void Gate::meet(const Fault& fault, const Request& request, Response& response,
                Connection& connection) {
  const auto delivered = [this, id = fault.id] { faults_.CountDelivered(id); };
  if (const auto kind = mishap_kind(fault.kind); kind != Mishap::Kind::kNone) {
    if (fault.kind == "reset" && !fault.after_bytes) {
      delivered();
      connection.reset();
      return;
    }
    connection.set_mishap(
        {kind, fault.after_bytes.value_or(0), fault.delay_ms.value_or(kDrip_ms), delivered});
    site_(request, response);
    return;
  }
  delivered();
  if (fault.kind == "hang") {
    if (connection.wait_with_client(fault.delay_ms.value_or(kHang_ms))) {
      site_(request, response);
    } else {
      connection.reset();
    }
  } else if (fault.kind == "refuse") {
    response.set_content(ToString(StoreApi::RefusalJson(
                             request.path, fault.body.value_or("The shop is closed today."))),
                         "application/json");
  } else if (fault.kind == "body") {
    ReplaceResponse(fault, "application/json", response);
  } else {
    response.status = fault.status;
    ReplaceResponse(fault, "text/plain", response);
  }
}

}  // namespace devshop
