#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/linux/common/settings.h"
#include "platform/linux/common/strings.h"
#include "tabulet.h"

namespace {

using saltmoor::platform::GetSettings;
using saltmoor::platform::Settings;

/// Writes one line in one call, so that lines of several threads and programs do not mix.
bool WriteLine(int file, std::string line) {
  line = saltmoor::platform::EscapeControlCharacters(line) + '\n';
  const char* rest = line.data();
  std::size_t size = line.size();
  while (size > 0) {
    const ssize_t written = write(file, rest, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    rest += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

std::string Record(int level, const char* source, int line, const char* function,
                   const std::string& text) {
  return std::to_string(level) + ' ' + (source ? source : "?") + ':' + std::to_string(line) + ' ' +
         (function ? function : "?") + ": " + text;
}

/// The file that the log goes to. What is wrong with the settings is its first record, whatever
/// the level: somebody who mistypes one must learn why nothing happens.
int OpenLog() {
  const auto report = [](int file, const std::string& problem) {
    WriteLine(file, Record(2, __FILE__, __LINE__, "OpenLog", problem));
  };
  const Settings& settings = GetSettings();
  int file = STDERR_FILENO;
  if (settings.log != "-") {
    file = open(settings.log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOCTTY | O_CLOEXEC, 0600);
    if (file < 0) {
      const std::string cause = std::strerror(errno);
      file = STDERR_FILENO;
      report(file, "TABULET_LOG: cannot write \"" + settings.log + "\" (" + cause +
                       "), so the log goes here; name a file in a folder that you may write to");
    }
  }
  for (const std::string& problem : settings.problems) report(file, problem);
  return file;
}

__attribute__((format(printf, 1, 0))) std::string FormatText(const char* format,
                                                             std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int size = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return size < 0 ? format : text;
}

}  // namespace

void sm_print_log2(int level, const char* source, int line, const char* function,
                   const char* format, ...) {
  const int caller_errno = errno;
  std::va_list arguments;
  va_start(arguments, format);
  try {
    static const int file = OpenLog();
    if (level <= GetSettings().log_level) {
      const std::string record =
          Record(level, source, line, function, FormatText(format ? format : "", arguments));
      if (!WriteLine(file, record) && file != STDERR_FILENO) WriteLine(STDERR_FILENO, record);
    }
  } catch (...) {  // memory ran out: better a record lost than the program
  }
  va_end(arguments);
  errno = caller_errno;
}
