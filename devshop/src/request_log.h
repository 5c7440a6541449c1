#ifndef DEVSHOP_REQUEST_LOG_H_
#define DEVSHOP_REQUEST_LOG_H_

#include <deque>
#include <mutex>
#include <string>

#include "http_message.h"
#include "json.h"

namespace devshop {

/// The received requests, in order, passwords included: the control port shows them, and they are
/// never printed. Thread-safe.
class RequestLog {
 public:
  /// `verbose`: prints a line per answered request, without secrets.
  explicit RequestLog(bool verbose) : verbose_(verbose) {}

  void Add(const std::string& port, const Request& request);
  /// Sets the status or the fault of the connection's request in flight.
  void SetStatus(int connection, int status);
  void SetFault(int connection, const std::string& fault);

  Json ToJson() const;
  void Clear();

 private:
  struct Entry {
    int number;
    std::string port;
    Request request;
    int status = 0;  ///< 0: nothing sent
    std::string fault;
  };
  Entry* InFlight(int connection);

  const bool verbose_;
  mutable std::mutex mutex_;
  std::deque<Entry> entries_;
  int added_ = 0;
};

}  // namespace devshop

#endif  // DEVSHOP_REQUEST_LOG_H_
