#ifndef DEVSHOP_TIMESTAMP_H_
#define DEVSHOP_TIMESTAMP_H_

#include <ctime>
#include <optional>
#include <string>

namespace devshop {

/// Formats UTC time as strftime does; the default is how the shop writes its timestamps.
std::string FormatTime(std::time_t time, const char* format = "%Y-%m-%d %H:%M:%S");

/// As HTTP writes times, such as "Sun, 06 Nov 1994 08:49:37 GMT".
std::string FormatHttpDate(std::time_t time);
/// Empty when the text is not such a time.
std::optional<std::time_t> ParseHttpDate(const std::string& text);

}  // namespace devshop

#endif  // DEVSHOP_TIMESTAMP_H_
