#ifndef DEVSHOP_FAULTS_H_
#define DEVSHOP_FAULTS_H_

#include <cstddef>
#include <list>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "text.h"

namespace devshop {

/// A request to the control port is invalid. The message is one sentence that names the field.
class InvalidInstruction : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A fault that requests of a path meet.
struct Fault {
  int id = 0;
  std::string path;  ///< the end of a request's path; * matches any characters
  std::string kind;
  int status = 503;
  std::optional<std::string> body;
  Json headers = Json::object();
  std::optional<std::size_t> after_bytes;
  std::optional<int> delay_ms;
  int times = 1;  ///< how many more requests it applies to
  int skip = 0;   ///< how many requests pass before that
  int delivered = 0;
};

/// The armed faults. Thread-safe.
class Faults {
 public:
  /// Arms a fault; returns it as stored. Throws InvalidInstruction.
  Json Arm(const Json& instruction);
  /// The first armed fault that matches the path; counts one use of it.
  std::optional<Fault> Take(const std::string& path);
  /// The fault took effect.
  void CountDelivered(int id);
  Json ToJson() const;
  void Clear();

 private:
  mutable std::mutex mutex_;
  std::list<Fault> faults_;
  int armed_ = 0;
};

}  // namespace devshop

#endif  // DEVSHOP_FAULTS_H_
