#ifndef QUIRE_LOG_H_
#define QUIRE_LOG_H_

#include <string>

namespace saltmoor::quire {

/// Levels of the system log that the library uses.
enum LogLevel {
  kLogError = 2,
  kLogInfo = 4,
  kLogTrace = 5,
};

/// Where a record comes from, as readers of a device's log search for it. The line is a number of
/// the log's own, fixed for good: it does not follow the source.
struct LogPlace {
  const char* source;
  int line;
  const char* function;
};

void Log(LogLevel level, const LogPlace& place, const std::string& text);

/// The text of a precondition that failed. Its last bracket was never opened: meant so, since logs
/// are searched for it.
std::string FailedCondition(const char* condition, const char* returned);

}  // namespace saltmoor::quire

#endif  // QUIRE_LOG_H_
