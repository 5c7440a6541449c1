#ifndef QUIRE_FIRST_FAILURE_H_
#define QUIRE_FIRST_FAILURE_H_

#include "failure.h"
#include "server_api.h"

namespace saltmoor::quire {

/// The failure of the manager's last call: the first within it, since later ones are mostly its
/// consequence.
class FirstFailure {
 public:
  /// One call of the manager, for as long as it runs. The outermost one starts without a failure.
  class Call {
   public:
    explicit Call(FirstFailure& owner) : owner_(owner) {
      if (owner_.depth_++ == 0) owner_.failure_ = Failure();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() { --owner_.depth_; }

   private:
    FirstFailure& owner_;
  };

  explicit FirstFailure(const ServerApi& server_api) : server_api_(server_api) {}

  void Record(const Failure& failure) {
    if (!failure_) failure_ = failure;
  }
  void Record(Failure::Kind kind) { Record(Failure{kind, 0, 0, {}}); }

  /// Records how a call of the server ended and passes its answer on.
  template <typename Answer>
  Answer Checked(Answer answer) {
    Record(server_api_.GetLastFailure());
    return answer;
  }

  const Failure& Get() const { return failure_; }

 private:
  const ServerApi& server_api_;
  Failure failure_;
  int depth_ = 0;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_FIRST_FAILURE_H_
