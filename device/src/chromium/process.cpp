#include "process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

namespace chromium {

pid_t Start(const std::vector<std::string>& command, const std::vector<int>& fds) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  const pid_t pid = fork();
  if (pid != 0) return pid;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  // dup2 must not overwrite a descriptor that is still to be copied.
  std::vector<int> copies;
  const int count = static_cast<int>(fds.size());
  for (const int fd : fds) copies.push_back(fcntl(fd, F_DUPFD_CLOEXEC, count));
  for (int fd = 0; fd < count; ++fd) dup2(copies[fd], fd);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

}  // namespace chromium
