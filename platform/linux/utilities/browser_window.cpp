#include "platform/linux/utilities/browser_window.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace saltmoor::platform {

void RaiseWindows(pid_t group) {
  if (!std::getenv("DISPLAY")) return;
  FILE* list = popen("wmctrl -lp 2>/dev/null", "re");
  if (!list) return;
  std::vector<unsigned long> windows;
  char line[1024];
  while (std::fgets(line, sizeof line, list)) {
    // The window's number, the desktop's, and the process that the window belongs to.
    char* rest = nullptr;
    const unsigned long window = std::strtoul(line, &rest, 16);
    std::strtol(rest, &rest, 10);
    const auto pid = static_cast<pid_t>(std::strtol(rest, nullptr, 10));
    if (pid > 0 && getpgid(pid) == group) windows.push_back(window);
  }
  pclose(list);
  for (const unsigned long window : windows) {
    char command[64];
    std::snprintf(command, sizeof command, "wmctrl -i -a 0x%lx 2>/dev/null", window);
    if (std::system(command) != 0) return;
  }
}

}  // namespace saltmoor::platform
