#ifndef DEVSHOP_CONTROL_H_
#define DEVSHOP_CONTROL_H_

#include <optional>
#include <string>

#include "fault_injector.h"
#include "file_server.h"
#include "json.h"
#include "request_log.h"
#include "shop.h"

namespace devshop {

/// The control port: `/_faults`, `/_requests`, `/_orders` and `/_books` are read with GET, set with
/// POST and reset with DELETE. Every request needs the token, and a Host header that names this
/// computer: a web page that resolves its own host to loopback is refused. Thread-safe.
class Control {
 public:
  Control(Shop& shop, FileServer& files, FaultInjector& faults, RequestLog& log);

  /// The secret that clients send; new at each start.
  const std::string& token() const { return token_; }
  /// Must be called before the first request.
  void set_port(int port) { port_ = port; }

  void Handle(const Request& request, Response& response);

 private:
  /// The reason to refuse the request, with the response's status set; empty when it is granted.
  std::string CheckAccess(const Request& request, Response& response) const;
  /// Empty when the path does not exist or does not have the method.
  std::optional<Json> Dispatch(const Request& request);
  Json SetOrders(const Json& fields);
  Json OrdersToJson();

  Shop& shop_;
  FileServer& files_;
  FaultInjector& faults_;
  RequestLog& log_;
  const std::string token_;
  int port_ = 0;
};

}  // namespace devshop

#endif  // DEVSHOP_CONTROL_H_
