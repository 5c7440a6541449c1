#include "screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/algorithm/string/replace.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <mutex>

#include "text.h"

namespace app {
namespace {

constexpr int kDefaultColumns = 80;
constexpr int kMinColumns = 20;
constexpr int kMaxColumns = 1000;
constexpr std::string_view kNoBreakSpace = "\u00A0";  // where a line must not break
// By Style.
constexpr std::array kEscapeSequences{"", "\x1b[1m", "\x1b[2m", "\x1b[32m", "\x1b[31m"};

bool IsSet(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

/// Keeps Wrap from breaking lines within commands such as "quire cart".
std::string ProtectCommands(const std::string& text) {
  std::string out;
  bool in_command = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') in_command = !in_command && text.compare(i, 7, "\"quire ") == 0;
    out.append(in_command && text[i] == ' ' ? kNoBreakSpace : std::string_view(&text[i], 1));
  }
  return out;
}

}  // namespace

struct Spinner::Detail {
  std::string Get() {
    const std::lock_guard lock(mutex);
    return text;
  }

  std::mutex mutex;
  std::string text;
};

namespace {

void Spin(const std::stop_token& stop, const char* text,
          const std::function<std::string()>& get_detail) {
  using namespace std::chrono_literals;
  constexpr std::array kFrames{"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};
  const Screen& screen = Screen::Err();
  const bool is_plain = screen.IsPlainTerminal();
  const auto start = std::chrono::steady_clock::now();
  std::mutex mutex;
  std::condition_variable_any ended;
  std::unique_lock lock(mutex);
  const auto ends_within = [&](std::chrono::milliseconds time) {
    return ended.wait_for(lock, stop, time, [&] { return stop.stop_requested(); });
  };
  if (ends_within(is_plain ? kPlainProgressPeriod : 300ms)) return;
  std::size_t frame = 0;
  do {
    const auto waited = std::chrono::steady_clock::now() - start;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(waited).count();
    std::string line = text;
    if (const std::string detail = get_detail(); !detail.empty()) line += " " + detail;
    if (seconds >= 3) line += " " + std::to_string(seconds) + " s";
    if (is_plain) {
      screen.PrintLine(line);
    } else {
      const std::string spinner = kFrames[frame++ % kFrames.size()];
      screen.ReplaceLine(Truncate(spinner + " " + line, screen.Width() - 1));
    }
  } while (!ends_within(is_plain ? kPlainProgressPeriod : 100ms));
  screen.ReplaceLine("");
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

int Screen::WidthLimit() const {
  return terminal_ || IsSet("COLUMNS") ? Width() : 0;
}

std::string Screen::ApplyStyle(Style style, const std::string& text) const {
  if (!interactive_ || style == Style::kPlain || text.empty()) return text;
  return kEscapeSequences[static_cast<std::size_t>(style)] + text + "\x1b[0m";
}

void Screen::PrintLine(std::string_view text, Style style) const {
  if (!terminal_) {
    stream_ << MakePrintable(text) << std::endl;
    return;
  }
  for (std::string& line : Wrap(ProtectCommands(MakePrintable(text)), Width())) {
    boost::replace_all(line, kNoBreakSpace, " ");
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

bool Screen::Flush() const {
  return static_cast<bool>(stream_.flush());
}

void Screen::ReplaceLine(std::string_view text) const {
  if (interactive_) stream_ << "\r\x1b[K" << text << std::flush;
}

void PrintError(const std::string& text) {
  const Screen& screen = Screen::Err();
  if (screen.IsInteractive()) {
    screen.PrintLine(text, Style::kError);
  } else {
    screen.PrintLine("quire: " + text);
  }
}

Spinner::Spinner(const char* text) : detail_(std::make_shared<Detail>()) {
  if (!Screen::Err().IsInteractive() && !Screen::Err().IsPlainTerminal()) return;
  thread_ = std::jthread(Spin, text, [detail = detail_] { return detail->Get(); });
}

void Spinner::SetDetail(const std::string& detail) const {
  const std::lock_guard lock(detail_->mutex);
  detail_->text = detail;
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
