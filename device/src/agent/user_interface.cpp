#include "user_interface.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <set>
#include <sstream>
#include <stdexcept>

#include "../text.h"

namespace agent {
namespace {

bool ContainsAny(const std::string& text, std::initializer_list<const char*> words) {
  return std::any_of(words.begin(), words.end(),
                     [&](const char* word) { return boost::icontains(text, word); });
}

bool IsCancelButton(const Button& button) {
  return ContainsAny(button.name + " " + button.value + " " + button.label,
                     {"cancel", "abort", "abbrechen", "decline"});
}

/// The value of a test card for a field; empty for a field of another kind.
std::string TestCardValue(const Field& field) {
  const std::string hint = field.autocomplete + " " + field.name;
  if (ContainsAny(hint, {"cc-number", "card_number", "cardnumber"})) return "4111 1111 1111 1111";
  if (ContainsAny(hint, {"cc-csc", "cvc", "cvv"})) return "123";
  if (ContainsAny(hint, {"cc-name", "holder"})) return "Test Reader";
  if (!ContainsAny(hint, {"cc-exp", "expir"})) return "";
  const std::time_t now = std::time(nullptr);
  const std::tm* today = std::localtime(&now);
  const int next_year = today->tm_year + 1901;
  return "12/" + std::to_string(next_year % 100);
}

/// The width of the terminal; none without a terminal.
std::optional<std::size_t> TerminalColumns() {
  const int terminal = open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC);
  winsize size{};
  if (terminal < 0) return {};
  ioctl(terminal, TIOCGWINSZ, &size);
  close(terminal);
  return size.ws_col > 0 ? std::optional<std::size_t>(size.ws_col) : std::nullopt;
}

/// Wraps a line at spaces. Each character counts as one column.
std::string Wrap(const std::string& line, std::size_t columns, const std::string& indent) {
  std::string wrapped = indent;
  std::size_t used = indent.size();
  std::istringstream words(line);
  for (std::string word; words >> word;) {
    const auto length = static_cast<std::size_t>(std::count_if(
        word.begin(), word.end(), [](unsigned char byte) { return (byte & 0xC0) != 0x80; }));
    if (used == indent.size()) {
      wrapped += word;
    } else if (used + 1 + length > columns) {
      wrapped += '\n' + indent + word;
      used = indent.size();
    } else {
      wrapped += ' ' + word;
      ++used;
    }
    used += length;
  }
  return wrapped;
}

}  // namespace

UserInterface::UserInterface() {
  if (scripted_answer_.empty()) {
    terminal_in_.open("/dev/tty");
    terminal_out_.open("/dev/tty");
    if (!terminal_in_ || !terminal_out_) {
      throw std::runtime_error(
          "there is no terminal; set QUIRE_BROWSER_ANSWER to approve, cancel or close");
    }
    out_ = &terminal_out_;
    return;
  }
  if (!std::set<std::string>{"approve", "cancel", "close", "crash"}.contains(scripted_answer_)) {
    throw std::runtime_error("QUIRE_BROWSER_ANSWER is " + scripted_answer_ +
                             "; it must be approve, cancel, close or crash");
  }
  out_ = &std::cerr;
}

void UserInterface::Show(const Page& page) {
  *out_ << '\n';
  const std::size_t columns = TerminalColumns().value_or(std::string::npos);
  for (const std::string& line : page.lines) *out_ << Wrap(line, columns, "  ") << '\n';
  out_->flush();
}

std::optional<Button> UserInterface::CompleteForm(Form* form) {
  return scripted_answer_.empty() ? CompleteOnTerminal(form) : CompleteFromScript(form);
}

std::optional<Button> UserInterface::CompleteFromScript(Form* form) {
  if (scripted_answer_ == "close") return {};
  if (scripted_answer_ == "crash") {
    std::signal(SIGSEGV, SIG_DFL);
    std::raise(SIGSEGV);
  }
  constexpr int kMaxForms = 3;
  if (++scripted_forms_ > kMaxForms) {
    throw std::runtime_error("the page showed more than " + std::to_string(kMaxForms) + " forms");
  }
  const bool cancel = scripted_answer_ == "cancel";
  const auto button = std::find_if(form->buttons.begin(), form->buttons.end(),
                                   [&](const Button& b) { return IsCancelButton(b) == cancel; });
  if (button == form->buttons.end()) {
    throw std::runtime_error("the page has no button to " + scripted_answer_);
  }
  for (Field& field : form->fields) {
    const std::string value = field.hidden || cancel ? "" : TestCardValue(field);
    if (!value.empty()) field.value = value;
  }
  *out_ << "  [" << button->label << "]" << std::endl;
  return *button;
}

std::optional<Button> UserInterface::CompleteOnTerminal(Form* form) {
  const std::size_t count = form->buttons.size();
  for (std::size_t i = 0; i < count; ++i) {
    *out_ << "  " << i + 1 << ") " << form->buttons[i].label << '\n';
  }
  std::size_t choice = 0;
  while (choice == 0 || choice > count) {
    std::string line;
    if (!ReadLine("Your choice, 1 to " + std::to_string(count) + ", or q to close: ", &line) ||
        line == "q") {
      return {};
    }
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), choice);
    if (error != std::errc() || end != line.data() + line.size()) choice = 0;
  }
  const Button button = form->buttons[choice - 1];
  if (IsCancelButton(button)) return button;
  for (Field& field : form->fields) {
    std::string line;
    if (field.hidden) continue;
    const std::string old = field.value.empty() ? "" : " [" + field.value + "]";
    if (!ReadLine(field.label + old + ": ", &line)) return {};
    if (!line.empty()) field.value = line;
  }
  return button;
}

bool UserInterface::ReadLine(const std::string& prompt, std::string* line) {
  *out_ << MakePrintable(prompt) << std::flush;
  return static_cast<bool>(std::getline(terminal_in_, *line));
}

}  // namespace agent
