#include "log.h"

#include "tabulet.h"

namespace saltmoor::quire {

void Log(LogLevel level, const LogPlace& place, const std::string& text) {
  sm_print_log2(level, place.source, place.line, place.function, "%s", text.c_str());
}

std::string FailedCondition(const char* condition, const char* returned) {
  // Compatibility: logs are searched for the closing bracket.
  return std::string("Condition: \"") + condition + "\", return(\"" + returned + "\")]";
}

}  // namespace saltmoor::quire
