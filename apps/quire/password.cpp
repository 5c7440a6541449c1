#include "password.h"

#include <bsd/readpassphrase.h>
#include <string.h>
#include <unistd.h>

#include <array>
#include <iostream>

#include "command_error.h"
#include "interrupts.h"
#include "text.h"

namespace app {
namespace {

std::string PromptForPassword(const std::string& prompt) {
  std::array<char, 1024> buffer{};
  const InterruptHandler interrupts;  // at the prompt, Ctrl-C ends the command but not the shell
  const char* typed = readpassphrase((MakePrintable(prompt) + ": ").c_str(), buffer.data(),
                                     buffer.size(), RPP_ECHO_OFF);
  std::string text = typed == nullptr ? std::string() : std::string(typed);
  explicit_bzero(buffer.data(), buffer.size());
  if (InterruptHandler::Caught())
    throw CommandError(kInterrupted, "Stopped before anything was sent.");
  return text;
}

}  // namespace

Password::~Password() {
  explicit_bzero(value_.data(), value_.capacity());
}

Password ReadPassword(const std::string& prompt, bool twice) {
  const bool on_terminal = isatty(STDIN_FILENO) != 0;
  std::string text;
  if (on_terminal) {
    text = PromptForPassword(prompt);
  } else {
    std::getline(std::cin, text);
    if (text.ends_with('\r')) text.pop_back();
  }
  if (text.empty()) {
    throw CommandError(kUsage,
                       "No password was given. Type it when asked, or pass it as a line of the "
                       "standard input.");
  }
  if (on_terminal && twice && Password(PromptForPassword("Repeat the password")).value() != text) {
    explicit_bzero(text.data(), text.size());
    throw CommandError(kUsage, "The two passwords differ. Try again.");
  }
  return Password(std::move(text));
}

}  // namespace app
