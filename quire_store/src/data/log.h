#ifndef QUIRE_LOG_H_
#define QUIRE_LOG_H_

#include <string>

#include "tabulet.h"

namespace saltmoor::quire {

/// The levels of the system log that the library uses.
enum LogLevel {
  kLogError = 2,
  kLogInfo = 4,
  kLogTrace = 5,
};

/// Where a record comes from.
// Compatibility: the line is a fixed number that does not follow the source.
struct LogPlace {
  const char* source;
  int line;
  const char* function;
};

inline void Log(LogLevel level, const LogPlace& place, const std::string& text) {
  sm_print_log2(level, place.source, place.line, place.function, "%s", text.c_str());
}

/// Logs that a function returns early, because of a condition that does not hold.
/// \param returned  the expression that it returns.
inline void LogEarlyReturn(const LogPlace& place, const std::string& condition,
                           const std::string& returned) {
  // Compatibility: logs are searched for the closing bracket, which is never opened.
  Log(kLogError, place, "Condition: \"" + condition + "\", return(\"" + returned + "\")]");
}

}  // namespace saltmoor::quire

#endif  // QUIRE_LOG_H_
