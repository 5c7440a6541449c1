#ifndef QUIRE_FIRST_FAILURE_H_
#define QUIRE_FIRST_FAILURE_H_

#include "failure.h"

namespace saltmoor::quire {

/// Why the manager's last call failed: the first failure within it, since later ones are usually
/// its consequence.
class FirstFailure {
 public:
  /// Marks a call of the manager while it runs. The outermost one starts without a failure.
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

  /// \param server_failure  the last failure of the server client; must outlive this.
  explicit FirstFailure(const Failure& server_failure) : server_failure_(server_failure) {}

  void Record(const Failure& failure) {
    if (!failure_) failure_ = failure;
  }
  void Record(Failure::Kind kind) { Record(Failure{kind, 0, 0, {}}); }

  /// Records that the file at `path` was not saved.
  /// \param error  errno; 0 when it was saved.
  void RecordSave(const char* path, int error) {
    if (error != 0) Record(Failure{Failure::kNotSaved, 0, 0, {}, path, error});
  }

  /// Forgets the shop's refusal of a request for which nobody was logged in.
  void ForgetRefusal() {
    if (failure_.kind == Failure::kRefused) failure_ = Failure();
  }

  /// Whether a call of the manager runs within another one.
  bool IsNested() const { return depth_ > 1; }

  /// Records how a call of the server client ended and returns its result.
  template <typename Result>
  Result RecordCall(Result result) {
    Record(server_failure_);
    return result;
  }

  const Failure& Get() const { return failure_; }

 private:
  const Failure& server_failure_;
  Failure failure_;
  int depth_ = 0;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_FIRST_FAILURE_H_
