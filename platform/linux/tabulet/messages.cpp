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

/// The user's language, such as "de", from the variables that set it everywhere else.
std::string Language() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (!value || !*value) continue;
    return std::string(value, std::strspn(value, "abcdefghijklmnopqrstuvwxyz"));
  }
  return "en";
}

/// Adds the texts of a language, in place of those that are there.
void AddLanguage(const std::string& language, KeyValues* texts) {
  std::string content;
  KeyValues added;
  Error error = saltmoor::platform::ReadResource("language", language + ".txt", &content);
  if (error.IsSystem(ENOENT)) return;
  if (!error) error = saltmoor::platform::ParseKeyValues(content, &added);
  if (error) {
    Log(saltmoor::platform::LogLevel::kError,
        "the texts of the language \"" + language + "\" are left out: " + error.message());
  }
  added.merge(*texts);
  *texts = std::move(added);
}

KeyValues LoadStrings() {
  KeyValues texts = {{"@DownloadError", "The book could not be downloaded."}};
  AddLanguage("en", &texts);
  if (const std::string language = Language(); language != "en") AddLanguage(language, &texts);
  return texts;
}

/// What the user is shown for a text of the caller's, on one line.
std::string Localize(const char* text) {
  if (!text) return "";
  if (*text == '@') {
    static const KeyValues& texts = *new KeyValues(LoadStrings());
    const auto known = texts.find(text);
    if (known != texts.end()) return saltmoor::platform::EscapeControlCharacters(known->second);
  }
  return saltmoor::platform::EscapeControlCharacters(text);
}

void ShowOnTerminal(const Icon& icon, const std::string& title, const std::string& text) {
  std::string line = std::string("[") + icon.label + "] " + title;
  if (text != title) line += (title.empty() ? "" : ": ") + text;
  line += '\n';
  // A message that nobody can see is not worth failing for.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

void Message(int icon, const char* title, const char* text, int timeout_ms) {
  saltmoor::platform::CatchAtBoundary(0, [=] {
    const Icon shown_icon = GetIcon(icon);
    const std::string shown_title = Localize(title);
    const std::string shown_text = Localize(text);
    ShowOnTerminal(shown_icon, shown_title, shown_text);
    saltmoor::platform::NotifyDesktop(shown_icon.desktop_name, shown_title,
                                      shown_text == shown_title ? "" : shown_text, timeout_ms);
    return 0;
  });
}
