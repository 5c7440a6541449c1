#ifndef QUIRE_APP_INTERRUPTS_H_
#define QUIRE_APP_INTERRUPTS_H_

#include <signal.h>

#include <string>

namespace app {

/// Catches Ctrl-C for its lifetime: the process does not end. One object at a time.
class InterruptCatcher {
 public:
  InterruptCatcher();
  ~InterruptCatcher();
  InterruptCatcher(const InterruptCatcher&) = delete;
  InterruptCatcher& operator=(const InterruptCatcher&) = delete;

  /// Whether Ctrl-C came since the construction.
  static bool Caught();

 private:
  struct sigaction before_ {};
};

/// Ends the process on Ctrl-C for its lifetime, with a message and kInterrupted: for calls of the
/// library that cannot be cancelled. One object at a time.
class InterruptMessage {
 public:
  explicit InterruptMessage(const std::string& message);
  ~InterruptMessage();
  InterruptMessage(const InterruptMessage&) = delete;
  InterruptMessage& operator=(const InterruptMessage&) = delete;

 private:
  struct sigaction before_ {};
};

}  // namespace app

#endif  // QUIRE_APP_INTERRUPTS_H_
