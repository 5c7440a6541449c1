#ifndef DEVSHOP_FAULT_INJECTOR_H_
#define DEVSHOP_FAULT_INJECTOR_H_

#include <string>

#include "faults.h"
#include "http_server.h"
#include "request_log.h"

namespace devshop {

/// Stands between a port and its site: logs each request and applies the fault that matches it.
/// Thread-safe.
class FaultInjector {
 public:
  FaultInjector(std::string port, RequestLog& log, Faults& faults, HttpServer::Handler site)
      : port_(std::move(port)), log_(log), faults_(faults), site_(std::move(site)) {}

  void Handle(const Request& request, Response& response);

 private:
  void Apply(const Fault& fault, const Request& request, Response& response);

  const std::string port_;
  RequestLog& log_;
  Faults& faults_;
  const HttpServer::Handler site_;
};

}  // namespace devshop

#endif  // DEVSHOP_FAULT_INJECTOR_H_
