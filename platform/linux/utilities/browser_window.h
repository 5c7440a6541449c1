#ifndef PLATFORM_LINUX_UTILITIES_BROWSER_WINDOW_H_
#define PLATFORM_LINUX_UTILITIES_BROWSER_WINDOW_H_

#include <sys/types.h>

namespace saltmoor::platform {

/// Raises the windows of a process group. Does nothing without a display or without `wmctrl`.
void RaiseWindows(pid_t group);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_UTILITIES_BROWSER_WINDOW_H_
