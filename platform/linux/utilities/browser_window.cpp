#include "platform/linux/utilities/browser_window.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace saltmoor::platform {

void RaiseWindowOf(pid_t group) {
  if (!std::getenv("DISPLAY")) return;
  FILE* list = popen("wmctrl -lp 2>/dev/null", "re");
  if (!list) return;
  std::vector<unsigned long> windows;
  char line[1024];
  while (std::fgets(line, sizeof line, list)) {
    unsigned long window = 0;
    int desktop = 0;
    pid_t pid = 0;
    const bool read = std::sscanf(line, "%lx %d %d", &window, &desktop, &pid) == 3;
    if (read && pid > 0 && getpgid(pid) == group) windows.push_back(window);
  }
  pclose(list);
  for (const unsigned long window : windows) {
    char command[64];
    std::snprintf(command, sizeof command, "wmctrl -i -a 0x%lx 2>/dev/null", window);
    if (std::system(command) != 0) return;
  }
}

}  // namespace saltmoor::platform
