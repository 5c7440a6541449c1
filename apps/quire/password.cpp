#include "password.h"

#include <bsd/readpassphrase.h>
#include <string.h>
#include <unistd.h>

#include <array>
#include <iostream>

#include "failure.h"
#include "interrupts.h"
#include "text.h"

namespace app {
namespace {

std::string AskOnce(const std::string& prompt) {
  std::array<char, 1024> buffer{};
  const InterruptCatcher interrupts;  // at a prompt, Ctrl-C ends the command and not the shell
  const char* typed = readpassphrase((Printable(prompt) + ": ").c_str(), buffer.data(),
                                     buffer.size(), RPP_ECHO_OFF);
  std::string text = typed == nullptr ? std::string() : std::string(typed);
  explicit_bzero(buffer.data(), buffer.size());
  if (InterruptCatcher::Caught()) throw Failure(kInterrupted, "Stopped. Nothing was done.");
  return text;
}

}  // namespace

Password::~Password() {
  explicit_bzero(text_.data(), text_.capacity());
}

Password AskPassword(const std::string& prompt, bool twice) {
  const bool asks = isatty(STDIN_FILENO) != 0;
  std::string text;
  if (asks) {
    text = AskOnce(prompt);
  } else {
    std::getline(std::cin, text);
    if (text.ends_with('\r')) text.pop_back();
  }
  if (text.empty()) {
    throw Failure(kUsage,
                  "No password was given. Type it when asked, or send it as a line to the "
                  "standard input.");
  }
  if (asks && twice && Password(AskOnce("The same again")).Text() != text) {
    explicit_bzero(text.data(), text.size());
    throw Failure(kUsage, "The two passwords differ. Try again.");
  }
  return Password(std::move(text));
}

}  // namespace app
