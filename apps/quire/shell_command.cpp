#include <editline/readline.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "book_view.h"
#include "commands.h"
#include "completion.h"
#include "downloads.h"
#include "screen.h"

namespace app {
namespace {

constexpr char kPrompt[] = "quire> ";
constexpr char kHistoryFile[] = "/mnt/ext1/system/config/quire_history";
constexpr int kMaxHistory = 1000;  // lines

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

/// Reads the lines of earlier prompts.
void ReadHistory() {
  stifle_history(kMaxHistory);
  read_history(kHistoryFile);
}

/// Adds a line to the history and its file, unless it may contain a password.
void AddToHistory(const std::string& line) {
  const std::vector<std::string> words = SplitWords(line);
  const bool is_secret = std::any_of(words.begin(), words.end(), [](const std::string& word) {
    return word == "login" || word == "register";
  });
  if (words.empty() || is_secret) return;
  if (access(kHistoryFile, F_OK) != 0) clear_history();  // "logout --forget" has removed it
  add_history(line.c_str());
  // The line editor writes an existing file only with the mode that it has.
  const int fd = open(kHistoryFile, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) return;
  if (fchmod(fd, 0600) == 0) write_history(kHistoryFile);
  close(fd);
}

Session* completion_session = nullptr;  // libedit passes no user data to its callbacks

/// Completes the word of the line that ends at the cursor.
/// \return what replaces the word, then the choices to show, then null, all from malloc; null when
///     there are none.
char** CompleteAtPrompt(const char* text, int start, int) {
  rl_attempted_completion_over = 1;  // no names of files
  CLI::App cli;
  AddCommands(cli, *completion_session);
  const std::string before(rl_line_buffer, static_cast<std::size_t>(start));
  const std::string current = text;
  const auto found = Complete(cli, *completion_session, SplitWords(before), current);
  if (found.empty()) return nullptr;
  std::vector<std::string> lines;
  std::string common = found.front().word;
  for (const Completion& each : found) {
    const auto end =
        std::mismatch(common.begin(), common.end(), each.word.begin(), each.word.end());
    common.erase(end.first, common.end());
    lines.push_back(each.title.empty() ? each.word : each.word + "  " + QuoteTitle(each.title));
  }
  // Choices found by their titles share no beginning with what was typed.
  lines.insert(lines.begin(), common.starts_with(current) || found.size() == 1 ? common : current);
  if (found.size() == 1) lines.pop_back();
  auto** const matches = static_cast<char**>(std::calloc(lines.size() + 1, sizeof(char*)));
  for (std::size_t i = 0; matches != nullptr && i < lines.size(); ++i) {
    matches[i] = strdup(lines[i].c_str());
  }
  return matches;
}

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
  AddToHistory(line);
  return line;
}

void PrintGreeting() {
  const std::string user = store::StoreManager::Instance().getLogin();
  Screen::Out().PrintLine("Welcome" +
                          (user.empty() ? ". Log in with \"login\"." : ", " + user + ".") +
                          " \"help\" lists the commands, \"exit\" leaves.");
}

void RunShell(bool keep_going, bool echo) {
  const bool at_prompt = isatty(STDIN_FILENO) != 0;
  Session session(at_prompt ? Session::Mode::kPrompt : Session::Mode::kScript);
  if (at_prompt) {
    rl_initialize();
    rl_add_defun("quire-discard-line", DiscardLine, kCtrlC);
    completion_session = &session;
    rl_attempted_completion_function = CompleteAtPrompt;
    ReadHistory();
    PrintGreeting();
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
