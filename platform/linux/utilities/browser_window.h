#ifndef PLATFORM_LINUX_UTILITIES_BROWSER_WINDOW_H_
#define PLATFORM_LINUX_UTILITIES_BROWSER_WINDOW_H_

#include <sys/types.h>

namespace saltmoor::platform {

/// Brings the windows of a process group to the front. Does nothing where there is no display or
/// no `wmctrl`.
void RaiseWindows(pid_t group);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_UTILITIES_BROWSER_WINDOW_H_
