#include "process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

#include "../util.h"

namespace chromium {

pid_t StartProcess(const std::vector<std::string>& command, const std::vector<int>& fds) {
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid != 0) return pid;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it has exited before prctl
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  // dup2 must not overwrite a descriptor that is still to be copied.
  std::vector<int> copies;
  const int count = static_cast<int>(fds.size());
  for (const int fd : fds) copies.push_back(fcntl(fd, F_DUPFD_CLOEXEC, count));
  for (int fd = 0; fd < count; ++fd) dup2(copies[fd], fd);
  Exec(command);
  _exit(127);
}

}  // namespace chromium
