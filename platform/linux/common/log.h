#ifndef PLATFORM_LINUX_COMMON_LOG_H_
#define PLATFORM_LINUX_COMMON_LOG_H_

#include <string>

namespace saltmoor::platform {

enum class LogLevel { kFatal = 1, kError = 2, kWarning = 3, kInformation = 4, kTrace = 5 };

/// Writes a record of the platform itself to the system log. The place defaults to the caller's.
void Log(LogLevel level, const std::string& message, const char* source = __builtin_FILE(),
         int line = __builtin_LINE(), const char* function = __builtin_FUNCTION());

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_LOG_H_
