/// \file
/// Records of the platform itself in the system log. The place of a record defaults to the
/// caller's.

#ifndef PLATFORM_LINUX_COMMON_LOG_H_
#define PLATFORM_LINUX_COMMON_LOG_H_

#include <exception>
#include <string>

#include "tabulet.h"

namespace saltmoor::platform {

enum class LogLevel { kFatal = 1, kError = 2, kWarning = 3, kInformation = 4, kTrace = 5 };

inline void Log(LogLevel level, const std::string& message, const char* source = __builtin_FILE(),
                int line = __builtin_LINE(), const char* function = __builtin_FUNCTION()) {
  sm_print_log2(static_cast<int>(level), source, line, function, "%s", message.c_str());
}

/// Calls `body` for a function of the contract, from which no exception may escape. An exception,
/// in practice std::bad_alloc, is logged with the caller's place.
/// \return what `body` returns; `fallback` if it throws.
template <typename Body, typename Result>
Result CatchAtBoundary(Result fallback, const Body& body, const char* source = __builtin_FILE(),
                       int line = __builtin_LINE(),
                       const char* function = __builtin_FUNCTION()) noexcept {
  try {
    return body();
  } catch (const std::exception& error) {
    sm_print_log2(2, source, line, function, "%s", error.what());
  } catch (...) {
    sm_print_log2(2, source, line, function, "an exception of an unknown type");
  }
  return fallback;
}

/// The same for a function that returns nothing.
template <typename Body>
void CatchAtBoundary(const Body& body, const char* source = __builtin_FILE(),
                     int line = __builtin_LINE(),
                     const char* function = __builtin_FUNCTION()) noexcept {
  const auto call = [&body] {
    body();
    return true;
  };
  CatchAtBoundary(false, call, source, line, function);
}

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_LOG_H_
