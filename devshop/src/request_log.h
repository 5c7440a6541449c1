#ifndef DEVSHOP_REQUEST_LOG_H_
#define DEVSHOP_REQUEST_LOG_H_

#include <deque>
#include <mutex>
#include <string>

#include "http_message.h"

namespace devshop {

/// The requests that came in, in order. It holds what customers of a development shop typed, their
/// passwords too: it is shown on the control port and never printed. Any thread.
class RequestLog {
 public:
  /// `verbose` prints a line for each answered request, without secrets.
  explicit RequestLog(bool verbose) : verbose_(verbose) {}

  void Add(const std::string& port, const Request& request);
  /// The status or the fault of the connection's request under way.
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
  Entry* in_flight(int connection);

  const bool verbose_;
  mutable std::mutex mutex_;
  std::deque<Entry> entries_;
  int added_ = 0;
};

}  // namespace devshop

#endif  // DEVSHOP_REQUEST_LOG_H_
