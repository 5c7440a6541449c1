#include "interrupts.h"

#include <unistd.h>

#include <array>
#include <cstring>

#include "failure.h"

namespace app {
namespace {

volatile sig_atomic_t caught = 0;

// A signal handler may read nothing but what is prepared for it.
std::array<char, 512> last_words{};
volatile sig_atomic_t last_words_length = 0;

void Remember(int) {
  caught = 1;
}

void SayLastWords(int) {
  const auto length = static_cast<std::size_t>(last_words_length);
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, last_words.data(), length);
  _exit(kInterrupted);
}

void Install(void (*handler)(int), struct sigaction* before) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigaction(SIGINT, &action, before);
}

}  // namespace

InterruptCatcher::InterruptCatcher() {
  caught = 0;
  Install(Remember, &before_);
}

InterruptCatcher::~InterruptCatcher() {
  sigaction(SIGINT, &before_, nullptr);
}

bool InterruptCatcher::Caught() {
  return caught != 0;
}

LastWords::LastWords(const std::string& words) {
  const std::string text = "\n" + words + "\n";
  const std::size_t length = std::min(text.size(), last_words.size());
  std::memcpy(last_words.data(), text.data(), length);
  last_words_length = static_cast<sig_atomic_t>(length);
  Install(SayLastWords, &before_);
}

LastWords::~LastWords() {
  sigaction(SIGINT, &before_, nullptr);
}

}  // namespace app
