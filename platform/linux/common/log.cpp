#include "platform/linux/common/log.h"

#include "tabulet.h"

namespace saltmoor::platform {

void Log(LogLevel level, const std::string& message, const char* source, int line,
         const char* function) {
  sm_print_log2(static_cast<int>(level), source, line, function, "%s", message.c_str());
}

}  // namespace saltmoor::platform
