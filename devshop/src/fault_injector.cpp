#include "fault_injector.h"

#include "store_api.h"

namespace devshop {
namespace {

constexpr int kDefaultHang_ms = 60'000;
constexpr int kDefaultSlow_ms = 100;

ResponseFault::Kind ParseKind(const std::string& fault) {
  if (fault == "truncate") return ResponseFault::Kind::kTruncate;
  if (fault == "slow") return ResponseFault::Kind::kSlow;
  return fault == "reset" ? ResponseFault::Kind::kReset : ResponseFault::Kind::kNone;
}

}  // namespace

void FaultInjector::Handle(const Request& request, Response& response) {
  log_.Add(port_, request);
  response.on_send = [this, connection = request.connection](int status) {
    log_.SetStatus(connection, status);
  };
  if (const auto fault = faults_.Take(request.path)) {
    log_.SetFault(request.connection, fault->kind);
    Apply(*fault, request, response);
  } else {
    site_(request, response);
  }
}

void FaultInjector::Apply(const Fault& fault, const Request& request, Response& response) {
  const auto deliver = [this, id = fault.id] { faults_.CountDelivered(id); };
  if (const auto kind = ParseKind(fault.kind); kind != ResponseFault::Kind::kNone) {
    const bool at_once = kind == ResponseFault::Kind::kReset && !fault.after_bytes;
    response.fault = {kind, fault.after_bytes, fault.delay_ms.value_or(kDefaultSlow_ms), deliver};
    if (at_once) return;
    response.fault.after_bytes = fault.after_bytes.value_or(0);
    return site_(request, response);
  }
  deliver();
  if (fault.kind == "hang") {
    response.delay_ms = fault.delay_ms.value_or(kDefaultHang_ms);
    response.after_delay = [this, &request](Response& delayed) { site_(request, delayed); };
  } else if (fault.kind == "refuse") {
    const auto reason = fault.body.value_or("The shop is closed today.");
    response.SetContent(ToString(StoreApi::RefusalJson(request.path, reason)), "application/json");
  } else {
    response.status = fault.kind == "body" ? 200 : fault.status;
    response.SetContent(fault.body.value_or(""),
                        fault.kind == "body" ? "application/json" : "text/plain");
    for (const auto& [name, value] : fault.headers.items()) response.SetHeader(name, value);
  }
}

}  // namespace devshop
