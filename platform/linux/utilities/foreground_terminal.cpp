#include "platform/linux/utilities/foreground_terminal.h"

#include <unistd.h>

#include <csignal>

namespace saltmoor::platform {

ForegroundTerminal::ForegroundTerminal()
    : shared_(getpgrp() == 0 && isatty(STDIN_FILENO)),
      possible_(!shared_ && tcgetpgrp(STDIN_FILENO) == getpgrp() &&
                tcgetattr(STDIN_FILENO, &modes_) == 0) {}

void ForegroundTerminal::Reclaim(pid_t group) const {
  if (!possible_ || tcgetpgrp(STDIN_FILENO) != group) return;
  // This process is in the background until the terminal is its own again, and would be stopped
  // for touching it.
  sigset_t touching;
  sigset_t before;
  sigemptyset(&touching);
  sigaddset(&touching, SIGTTOU);
  pthread_sigmask(SIG_BLOCK, &touching, &before);
  tcsetpgrp(STDIN_FILENO, getpgrp());
  tcsetattr(STDIN_FILENO, TCSADRAIN, &modes_);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace saltmoor::platform
