#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"
#include "platform/linux/common/strings.h"
#include "platform/linux/tabulet/key_values.h"
#include "platform/linux/tabulet/resources.h"
#include "tabulet.h"

namespace {

using saltmoor::platform::Error;
using saltmoor::platform::KeyValues;

struct Icon {
  const char* label;         ///< on the terminal
  const char* desktop_name;  ///< in the desktop's icon theme
};

Icon GetIcon(int icon) {
  switch (icon) {
    case 2:
      return {"question", "dialog-question"};
    case 3:
      return {"attention", "dialog-warning"};
    case 4:
      return {"error", "dialog-error"};
    default:
      return {"information", "dialog-information"};
  }
}

/// The user's language, such as "de", from the usual locale variables.
std::string GetLanguage() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (!value || !*value) continue;
    return std::string(value, std::strspn(value, "abcdefghijklmnopqrstuvwxyz"));
  }
  return "en";
}

/// Adds the strings of a language, which replace those of the same keys.
void AddLanguage(const std::string& language, KeyValues* strings) {
  std::string content;
  KeyValues added;
  Error error = saltmoor::platform::ReadResource("language", language + ".txt", &content);
  if (error.IsSystem(ENOENT)) return;
  if (!error) error = saltmoor::platform::ParseKeyValues(content, &added);
  if (error) {
    Log(saltmoor::platform::LogLevel::kError,
        "the strings of the language \"" + language + "\" are ignored: " + error.message());
  }
  added.merge(*strings);
  *strings = std::move(added);
}

KeyValues LoadStrings() {
  KeyValues strings = {{"@DownloadError", "The book could not be downloaded."}};
  AddLanguage("en", &strings);
  if (const std::string language = GetLanguage(); language != "en") AddLanguage(language, &strings);
  return strings;
}

/// The string to show for an argument of Message, on one line.
std::string Localize(const char* text) {
  if (!text) return "";
  if (*text == '@') {
    static const KeyValues& strings = *new KeyValues(LoadStrings());
    const auto known = strings.find(text);
    if (known != strings.end()) return saltmoor::platform::EscapeControlCharacters(known->second);
  }
  return saltmoor::platform::EscapeControlCharacters(text);
}

void ShowOnTerminal(const Icon& icon, const std::string& title, const std::string& text) {
  std::string line = std::string("[") + icon.label + "] " + title;
  if (text != title) line += (title.empty() ? "" : ": ") + text;
  line += '\n';
  // A failed write is ignored: there is no terminal to show the message.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

bool HasDesktop() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return true;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  return runtime && access((std::string(runtime) + "/bus").c_str(), F_OK) == 0;
}

/// Executes the program. Makes only async-signal-safe calls, as required after fork.
[[noreturn]] void Exec(const char* const* arguments) {
  constexpr unsigned kMaxRun_s = 10;
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  signal(SIGALRM, SIG_DFL);
  const int null = open("/dev/null", O_RDWR);
  for (int fd = 0; fd <= 2; ++fd) dup2(null, fd);
  close_range(3, ~0U, 0);
  alarm(kMaxRun_s);  // survives exec: kills the program if the desktop does not answer
  execvp(arguments[0], const_cast<char* const*>(arguments));
  _exit(127);
}

/// Shows a notification on the desktop, if there is one, and returns without waiting for it.
void NotifyDesktop(const std::string& icon, const std::string& title, const std::string& text,
                   int timeout_ms) {
  if (!HasDesktop()) return;
  const std::string timeout = std::to_string(timeout_ms);
  const char* const arguments[] = {"notify-send", "-t",         timeout.c_str(),
                                   "-i",          icon.c_str(), "--",
                                   title.c_str(), text.c_str(), nullptr};
  // A double fork: init reaps the program.
  const pid_t child = fork();
  if (child == 0) {
    if (fork() == 0) Exec(arguments);
    _exit(0);
  }
  while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

void Message(int icon, const char* title, const char* text, int timeout_ms) {
  saltmoor::platform::CatchAtBoundary([=] {
    const Icon shown_icon = GetIcon(icon);
    const std::string shown_title = Localize(title);
    const std::string shown_text = Localize(text);
    ShowOnTerminal(shown_icon, shown_title, shown_text);
    NotifyDesktop(shown_icon.desktop_name, shown_title, shown_text == shown_title ? "" : shown_text,
                  timeout_ms);
  });
}
