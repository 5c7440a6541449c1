#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/linux/common/catch_at_boundary.h"
#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"
#include "platform/linux/common/strings.h"
#include "platform/linux/tabulet/key_values.h"
#include "platform/linux/tabulet/notification.h"
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
  // A failed write is ignored: nobody sees the terminal.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

void Message(int icon, const char* title, const char* text, int timeout_ms) {
  saltmoor::platform::CatchAtBoundary([=] {
    const Icon shown_icon = GetIcon(icon);
    const std::string shown_title = Localize(title);
    const std::string shown_text = Localize(text);
    ShowOnTerminal(shown_icon, shown_title, shown_text);
    saltmoor::platform::NotifyDesktop(shown_icon.desktop_name, shown_title,
                                      shown_text == shown_title ? "" : shown_text, timeout_ms);
  });
}
