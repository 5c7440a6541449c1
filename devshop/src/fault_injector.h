#ifndef DEVSHOP_FAULT_INJECTOR_H_
#define DEVSHOP_FAULT_INJECTOR_H_

#include <list>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "http_server.h"
#include "json.h"
#include "request_log.h"

namespace devshop {

/// A request to the control port is invalid. The message is one sentence that names the field.
class InvalidControlRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a fault does to a request; README.md describes each.
enum class FaultKind { kRefuse, kStatus, kBody, kHang, kSlow, kTruncate, kReset };

/// Called by the ports in place of their sites: logs each request and applies the first armed fault
/// that matches its path. Thread-safe.
class FaultInjector {
 public:
  explicit FaultInjector(RequestLog& log) : log_(log) {}

  /// Serves a request that `port` received.
  void Handle(const std::string& port, const HttpServer::Handler& site, const Request& request,
              Response& response);

  /// Arms a fault, as README.md describes it; returns it as stored. Throws InvalidControlRequest.
  Json Arm(const Json& fields);
  Json ToJson() const;
  void Clear();

 private:
  struct Fault {
    int id;
    FaultKind kind;
    Json fields;  // as they were sent
    int left;     // how many more requests it applies to
    int skip;     // how many requests pass before that
    int delivered = 0;

    Json ToJson() const;
  };

  /// The fault to apply to a request for the path; counts it as used.
  std::optional<Fault> UseMatching(const std::string& path);
  void CountDelivered(int id);
  void Apply(const Fault& fault, const HttpServer::Handler& site, const Request& request,
             Response& response);

  RequestLog& log_;
  mutable std::mutex mutex_;
  std::list<Fault> faults_;
  int armed_ = 0;
};

}  // namespace devshop

#endif  // DEVSHOP_FAULT_INJECTOR_H_
