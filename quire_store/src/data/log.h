#ifndef QUIRE_LOG_H_
#define QUIRE_LOG_H_

#include <string>

namespace saltmoor::quire {

/// The levels of the system log that the library uses.
enum LogLevel {
  kLogError = 2,
  kLogInfo = 4,
  kLogTrace = 5,
};

/// Where a record comes from. The line is a fixed number that does not follow the source.
struct LogPlace {
  const char* source;
  int line;
  const char* function;
};

void Log(LogLevel level, const LogPlace& place, const std::string& text);

/// The log text of a failed precondition, with a closing bracket that is never opened.
std::string FailedCondition(const char* condition, const char* returned);

}  // namespace saltmoor::quire

#endif  // QUIRE_LOG_H_
