#ifndef PLATFORM_LINUX_COMMON_CATCH_AT_BOUNDARY_H_
#define PLATFORM_LINUX_COMMON_CATCH_AT_BOUNDARY_H_

#include <exception>

#include "tabulet.h"

namespace saltmoor::platform {

/// The contract's edge: what `body` returns, or `fallback` where it throws, since an exception must
/// not reach a caller in C. In practice that is memory running out.
template <typename Body, typename Result>
Result CatchAtBoundary(Result fallback, const Body& body, const char* source = __builtin_FILE(),
                       int line = __builtin_LINE(),
                       const char* function = __builtin_FUNCTION()) noexcept {
  try {
    return body();
  } catch (const std::exception& error) {
    sm_print_log2(2, source, line, function, "%s", error.what());
  } catch (...) {
    sm_print_log2(2, source, line, function, "an exception of an unknown kind");
  }
  return fallback;
}

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_CATCH_AT_BOUNDARY_H_
