#ifndef PLATFORM_LINUX_COMMON_CATCH_AT_BOUNDARY_H_
#define PLATFORM_LINUX_COMMON_CATCH_AT_BOUNDARY_H_

#include <exception>

#include "tabulet.h"

namespace saltmoor::platform {

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

#endif  // PLATFORM_LINUX_COMMON_CATCH_AT_BOUNDARY_H_
