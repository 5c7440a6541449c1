#include "interrupts.h"

#include <unistd.h>

#include <array>
#include <cstring>

#include "command_error.h"

namespace app {
namespace {

volatile sig_atomic_t caught = 0;

// A signal handler must not allocate.
std::array<char, 512> message_text{};
volatile sig_atomic_t message_length = 0;

void SetCaught(int) {
  caught = 1;
}

void WriteMessageAndExit(int) {
  const auto length = static_cast<std::size_t>(message_length);
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, message_text.data(), length);
  _exit(kInterrupted);
}

void InstallHandler(void (*handler)(int), struct sigaction* before) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigaction(SIGINT, &action, before);
}

}  // namespace

InterruptCatcher::InterruptCatcher() {
  caught = 0;
  InstallHandler(SetCaught, &before_);
}

InterruptCatcher::~InterruptCatcher() {
  sigaction(SIGINT, &before_, nullptr);
}

bool InterruptCatcher::Caught() {
  return caught != 0;
}

InterruptMessage::InterruptMessage(const std::string& message) {
  const std::string text = "\n" + message + "\n";
  const std::size_t length = std::min(text.size(), message_text.size());
  std::memcpy(message_text.data(), text.data(), length);
  message_length = static_cast<sig_atomic_t>(length);
  InstallHandler(WriteMessageAndExit, &before_);
}

InterruptMessage::~InterruptMessage() {
  sigaction(SIGINT, &before_, nullptr);
}

}  // namespace app
