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

/// What a request to the control port got wrong, told in one sentence that names the field.
class BadInstruction : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Faults armed on paths of the shop, so that an application can be seen to bear them.
struct Fault {
  int id = 0;
  std::string path;  ///< the end of a request's path; * stands for any text
  std::string kind;
  int status = 503;
  std::optional<std::string> body;
  Json headers = Json::object();
  std::optional<std::size_t> after_bytes;
  std::optional<int> delay_ms;
  int times = 1;  ///< how many matching requests it still meets
  int skip = 0;   ///< how many it lets pass before that
  int delivered = 0;
};

/// Any thread.
class Faults {
 public:
  /// Arms a fault and gives it back as it is kept. Throws BadInstruction.
  Json Arm(const Json& instruction);
  /// The fault that this request meets, now spent once; the oldest armed goes first.
  std::optional<Fault> Take(const std::string& path);
  /// It took effect.
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
