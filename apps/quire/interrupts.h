#ifndef QUIRE_APP_INTERRUPTS_H_
#define QUIRE_APP_INTERRUPTS_H_

#include <signal.h>

#include <string>

namespace app {

/// While it lives, Ctrl-C does not end the process but is remembered. One at a time.
class InterruptCatcher {
 public:
  InterruptCatcher();
  ~InterruptCatcher();
  InterruptCatcher(const InterruptCatcher&) = delete;
  InterruptCatcher& operator=(const InterruptCatcher&) = delete;

  static bool Caught();

 private:
  struct sigaction before_ {};
};

/// While it lives, Ctrl-C ends the process at once with some last words and kInterrupted. For calls
/// of the library that cannot be cut short otherwise. One at a time.
class InterruptMessage {
 public:
  explicit InterruptMessage(const std::string& words);
  ~InterruptMessage();
  InterruptMessage(const InterruptMessage&) = delete;
  InterruptMessage& operator=(const InterruptMessage&) = delete;

 private:
  struct sigaction before_ {};
};

}  // namespace app

#endif  // QUIRE_APP_INTERRUPTS_H_
