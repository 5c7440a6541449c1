#include <editline/readline.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "commands.h"
#include "downloads.h"
#include "screen.h"

namespace app {
namespace {

constexpr char kPrompt[] = "quire> ";

constexpr int kCtrlC = 'C' & 0x1F;
bool line_discarded = false;  // libedit passes no user data to its callbacks

int DiscardLine(int, int) {
  line_discarded = true;
  rl_done = 1;
  return 0;
}

/// For its lifetime Ctrl-C is a key for the line editor and not a signal for the process.
class ScopedCtrlCKey {
 public:
  ScopedCtrlCKey() {
    if (tcgetattr(STDIN_FILENO, &before_) != 0) return;
    termios mode = before_;
    mode.c_cc[VINTR] = _POSIX_VDISABLE;
    changed_ = tcsetattr(STDIN_FILENO, TCSANOW, &mode) == 0;
  }
  ~ScopedCtrlCKey() {
    if (changed_) tcsetattr(STDIN_FILENO, TCSANOW, &before_);
  }
  ScopedCtrlCKey(const ScopedCtrlCKey&) = delete;
  ScopedCtrlCKey& operator=(const ScopedCtrlCKey&) = delete;

 private:
  termios before_{};
  bool changed_ = false;
};

/// Reads a line at the prompt or from the standard input; nothing at its end.
std::optional<std::string> ReadLine(bool at_prompt) {
  std::string line;
  if (!at_prompt) {
    if (!std::getline(std::cin, line)) return std::nullopt;
    return line;
  }
  const ScopedCtrlCKey key;
  line_discarded = false;
  const std::unique_ptr<char, decltype(&std::free)> typed(readline(kPrompt), &std::free);
  if (!typed) {
    Screen::Out().Write("\n");
    return line_discarded ? std::optional<std::string>("") : std::nullopt;
  }
  line = typed.get();
  if (line.find_first_not_of(' ') != std::string::npos) add_history(line.c_str());
  return line;
}

/// Splits a line into words, which may be quoted; drops a leading "quire".
std::vector<std::string> SplitWords(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  while (in >> std::ws && in.peek() != std::istringstream::traits_type::eof()) {
    in >> std::quoted(words.emplace_back(), in.peek() == '\'' ? '\'' : '"');
  }
  if (!words.empty() && words.front() == "quire") words.erase(words.begin());
  return words;
}

void PrintGreeting(Session& session) {
  store::StoreManager& manager = session.Store();
  const std::string shop = manager.GetShopName();
  const std::string user = manager.IsLoggedIn() ? manager.getLogin() : "";
  Screen::Out().PrintLine("Welcome" + (shop.empty() ? "" : " to " + shop) +
                          (user.empty() ? ". Log in with \"login\"." : ", " + user + ".") +
                          " \"help\" lists the commands, \"exit\" leaves.");
}

void RunShell(bool keep_going, bool echo) {
  const bool at_prompt = isatty(STDIN_FILENO) != 0;
  Session session(at_prompt ? Session::Mode::kPrompt : Session::Mode::kScript);
  if (at_prompt) {
    rl_initialize();
    rl_add_defun("quire-discard-line", DiscardLine, kCtrlC);
    try {
      PrintGreeting(session);
    } catch (const CommandError& error) {
      PrintError(error.what());  // the next command retries
    }
  }
  ExitCode exit_code = kOk;
  while (const auto line = ReadLine(at_prompt)) {
    const std::vector<std::string> words = SplitWords(*line);
    if (words.empty() || words.front().starts_with('#')) continue;
    if (words.front() == "exit" || words.front() == "quit") break;
    if (echo) Screen::Out().PrintLine(kPrompt + *line, Style::kBold);
    const ExitCode code = RunCommand(words, session);
    if (code != kOk && !at_prompt) exit_code = code;
    if (code != kOk && !at_prompt && !keep_going) break;
    ReportEndedDownload(session);
  }
  WaitForBackgroundDownload(session);
  if (exit_code != kOk) throw CommandError(exit_code, "");
}

}  // namespace

void AddShellCommand(CLI::App& cli) {
  CLI::App* command = cli.add_subcommand("shell", "Take commands at a prompt, or from a pipe");
  CLI::Option* keep_going = command->add_flag("-k,--keep-going");
  keep_going->description("From a pipe: go on after a command that failed");
  CLI::Option* echo = command->add_flag("--echo");
  echo->description("Print each command before it runs");
  command->callback([=] { RunShell(!keep_going->empty(), !echo->empty()); });
}

}  // namespace app
