#include "platform/linux/utilities/foreground_terminal.h"

#include <unistd.h>

#include <csignal>

namespace saltmoor::platform {

ForegroundTerminal::ForegroundTerminal()
    : group_is_external_(getpgrp() == 0 && isatty(STDIN_FILENO)),
      transferable_(!group_is_external_ && tcgetpgrp(STDIN_FILENO) == getpgrp() &&
                    tcgetattr(STDIN_FILENO, &modes_) == 0) {}

void ForegroundTerminal::Reclaim(pid_t group) const {
  if (!transferable_ || tcgetpgrp(STDIN_FILENO) != group) return;
  // Until then this process is in the background, and SIGTTOU would stop it here.
  sigset_t ttou;
  sigset_t before;
  sigemptyset(&ttou);
  sigaddset(&ttou, SIGTTOU);
  pthread_sigmask(SIG_BLOCK, &ttou, &before);
  tcsetpgrp(STDIN_FILENO, getpgrp());
  tcsetattr(STDIN_FILENO, TCSADRAIN, &modes_);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace saltmoor::platform
