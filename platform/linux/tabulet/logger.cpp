#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/settings.h"
#include "platform/linux/common/strings.h"
#include "platform/linux/common/unique_fd.h"
#include "tabulet.h"

namespace {

using saltmoor::platform::GetSettings;
using saltmoor::platform::Settings;
using saltmoor::platform::UniqueFd;

/// Writes one line with one call, so that lines of concurrent threads and programs do not mix.
bool WriteLine(int file, const std::string& line) {
  return !saltmoor::platform::WriteAll(
      file, saltmoor::platform::EscapeControlCharacters(line) + '\n', "the log");
}

std::string FormatRecord(int level, const char* source, int line, const char* function,
                         const std::string& text) {
  return std::to_string(level) + ' ' + (source ? source : "?") + ':' + std::to_string(line) + ' ' +
         (function ? function : "?") + ": " + text;
}

/// Opens the log file. A link could lead to another file, a pipe without a reader would block, and
/// the owner of the file can read it.
/// \return -1, with the reason in `*problem`, if it cannot be written or is not this user's file.
int OpenLogFile(const std::string& path, std::string* problem) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_APPEND | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK;
  UniqueFd file(open(path.c_str(), kFlags | O_CLOEXEC, 0600));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) {
    *problem = errno == ELOOP ? "it is a symbolic link" : std::strerror(errno);
    return -1;
  }
  const bool own_file = S_ISREG(status.st_mode) && status.st_uid == geteuid();
  if (!own_file && !S_ISCHR(status.st_mode)) {
    *problem = "it is not a file of this user";
    return -1;
  }
  if (own_file && (status.st_mode & 0077) != 0) fchmod(file.get(), 0600);
  return file.Release();
}

/// Opens the log and reports invalid settings first, at every log level: a mistyped setting must
/// not go unnoticed.
int OpenLog() {
  const auto report = [](int file, const std::string& problem) {
    WriteLine(file, FormatRecord(2, __FILE__, __LINE__, "OpenLog", problem));
  };
  const Settings& settings = GetSettings();
  int file = STDERR_FILENO;
  std::string cause;
  if (settings.log != "-" && (file = OpenLogFile(settings.log, &cause)) < 0) {
    file = STDERR_FILENO;
    report(file, "TABULET_LOG: cannot write \"" + settings.log + "\" (" + cause +
                     "), so the log is written here; name a file in a writable directory");
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
          FormatRecord(level, source, line, function, FormatText(format ? format : "", arguments));
      if (!WriteLine(file, record) && file != STDERR_FILENO) WriteLine(STDERR_FILENO, record);
    }
  } catch (...) {  // without memory the record is lost
  }
  va_end(arguments);
  errno = caller_errno;
}
