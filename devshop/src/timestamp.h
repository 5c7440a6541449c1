#ifndef DEVSHOP_TIMESTAMP_H_
#define DEVSHOP_TIMESTAMP_H_

#include <ctime>
#include <string>

namespace devshop {

/// Formats UTC time as strftime does; the default is how the shop writes its timestamps.
std::string FormatTime(std::time_t time, const char* format = "%Y-%m-%d %H:%M:%S");

}  // namespace devshop

#endif  // DEVSHOP_TIMESTAMP_H_
