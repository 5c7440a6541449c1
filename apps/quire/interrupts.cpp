#include "interrupts.h"

#include <unistd.h>

#include <cstring>

#include "command_error.h"

namespace app {
namespace {

volatile sig_atomic_t caught = 0;
const char* volatile last_message = nullptr;

void OnInterrupt(int) {
  caught = 1;
  const char* const message = last_message;
  if (message == nullptr) return;
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, message, std::strlen(message));
  _exit(kInterrupted);
}

}  // namespace

InterruptHandler::InterruptHandler(const char* message) {
  caught = 0;
  last_message = message;
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  action.sa_flags = SA_RESTART;  // else a write fails, and the stream prints nothing any more
  sigaction(SIGINT, &action, &before_);
}

bool InterruptHandler::Caught() {
  return caught != 0;
}

}  // namespace app
