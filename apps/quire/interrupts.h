#ifndef QUIRE_APP_INTERRUPTS_H_
#define QUIRE_APP_INTERRUPTS_H_

#include <signal.h>

namespace app {

/// Handles Ctrl-C for its lifetime. One object at a time.
class InterruptHandler {
 public:
  /// \param message  Ctrl-C prints this string, which must outlive the object, and ends the process
  ///     with kInterrupted: for calls of the library that cannot be cancelled. Null: Ctrl-C is
  ///     recorded, and the process continues.
  explicit InterruptHandler(const char* message = nullptr);
  ~InterruptHandler() { sigaction(SIGINT, &before_, nullptr); }
  InterruptHandler(const InterruptHandler&) = delete;
  InterruptHandler& operator=(const InterruptHandler&) = delete;

  /// Whether Ctrl-C came since the construction.
  static bool Caught();

 private:
  struct sigaction before_ {};
};

}  // namespace app

#endif  // QUIRE_APP_INTERRUPTS_H_
