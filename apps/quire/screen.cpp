#include "screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>

#include "text.h"

namespace app {
namespace {

constexpr int kDefaultColumns = 80;
constexpr int kMinColumns = 20;
constexpr int kMaxColumns = 1000;
constexpr char kNoBreakSpace[] = "\u00A0";  // stands for a space where a line must not break

bool IsSet(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

void ReplaceAll(std::string& text, std::string_view what, std::string_view with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

/// Keeps Wrap from breaking lines within commands such as "quire cart".
std::string ProtectCommands(const std::string& text) {
  std::string out;
  std::size_t at = 0;
  for (std::size_t start; (start = text.find("\"quire ", at)) != text.npos;) {
    const std::size_t end = std::min(text.find('"', start + 1), text.size());
    std::string command = text.substr(start, end - start);
    ReplaceAll(command, " ", kNoBreakSpace);
    out += text.substr(at, start - at) + command;
    at = end;
  }
  return out + text.substr(at);
}

const char* EscapeSequence(Style style) {
  switch (style) {
    case Style::kBold:
      return "\x1b[1m";
    case Style::kDim:
      return "\x1b[2m";
    case Style::kGood:
      return "\x1b[32m";
    case Style::kBad:
      return "\x1b[31m";
    case Style::kPlain:
      break;
  }
  return "";
}

}  // namespace

Screen::Screen(int descriptor, std::ostream& stream)
    : descriptor_(descriptor), stream_(stream), terminal_(isatty(descriptor) != 0) {
  const char* kind = std::getenv("TERM");
  const bool dumb = kind == nullptr || std::string_view(kind) == "dumb";
  interactive_ = terminal_ && !dumb && !IsSet("NO_COLOR");
}

const Screen& Screen::Out() {
  static const Screen screen(STDOUT_FILENO, std::cout);
  return screen;
}

const Screen& Screen::Err() {
  static const Screen screen(STDERR_FILENO, std::cerr);
  return screen;
}

int Screen::Width() const {
  if (IsSet("COLUMNS")) {
    const long columns = std::strtol(std::getenv("COLUMNS"), nullptr, 10);
    if (columns > 0) return static_cast<int>(std::clamp<long>(columns, kMinColumns, kMaxColumns));
  }
  winsize size{};
  if (!terminal_ || ioctl(descriptor_, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
    return kDefaultColumns;
  }
  return std::max<int>(size.ws_col, kMinColumns);
}

std::string Screen::ApplyStyle(Style style, const std::string& text) const {
  if (!interactive_ || style == Style::kPlain || text.empty()) return text;
  return EscapeSequence(style) + text + "\x1b[0m";
}

void Screen::PrintLine(std::string_view text, Style style) const {
  if (!terminal_) {
    stream_ << MakePrintable(text) << std::endl;
    return;
  }
  for (std::string& line : Wrap(ProtectCommands(MakePrintable(text)), Width())) {
    ReplaceAll(line, kNoBreakSpace, " ");
    stream_ << ApplyStyle(style, line) << '\n';
  }
  stream_.flush();
}

void Screen::PrintPath(std::string_view path) const {
  Write("  " + MakePrintable(path) + "\n");
}

void Screen::Write(std::string_view text) const {
  stream_ << text << std::flush;
}

void Screen::ReplaceLine(std::string_view text) const {
  if (interactive_) stream_ << "\r\x1b[K" << text << std::flush;
}

Spinner::Spinner(std::string text) {
  if (!Screen::Err().IsInteractive()) return;
  thread_ = std::thread([this, text = std::move(text)] { Spin(text); });
}

Spinner::~Spinner() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    end_ = true;
  }
  ended_.notify_one();
  thread_.join();
}

void Spinner::Spin(const std::string& text) {
  using namespace std::chrono_literals;
  constexpr std::array kFrames{"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};
  const Screen& screen = Screen::Err();
  const auto start = std::chrono::steady_clock::now();
  std::unique_lock lock(mutex_);
  if (ended_.wait_for(lock, 300ms, [this] { return end_; })) return;
  std::size_t frame = 0;
  do {
    const auto waited = std::chrono::steady_clock::now() - start;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(waited).count();
    std::string line = std::string(kFrames[frame++ % kFrames.size()]) + " " + text;
    if (seconds >= 3) line += " " + std::to_string(seconds) + " s";
    screen.ReplaceLine(Truncate(line, screen.Width() - 1));
  } while (!ended_.wait_for(lock, 100ms, [this] { return end_; }));
  screen.ReplaceLine("");
}

std::string ProgressLine(std::string_view title, int percent, int columns) {
  constexpr std::array kEighths{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  percent = std::clamp(percent, 0, 100);
  const int bar = std::clamp(columns / 3, 8, 30);
  const int available = std::max(columns - bar - 8, 0);  // a space, two edges, "100 %"
  std::string name = Truncate(title, available);
  name.append(static_cast<std::size_t>(available - DisplayWidth(name)), ' ');

  const int eighths = bar * 8 * percent / 100;
  std::string filled;
  for (int i = 0; i < eighths / 8; ++i) filled += "█";
  filled += kEighths[static_cast<std::size_t>(eighths % 8)];
  filled.append(static_cast<std::size_t>(bar - DisplayWidth(filled)), ' ');

  const std::string number = std::to_string(percent);
  return name + " ▕" + filled + "▏" + std::string(3 - number.size(), ' ') + number + " %";
}

}  // namespace app
