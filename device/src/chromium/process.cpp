#include "process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace chromium {

void Exec(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
}

int Run(const std::vector<std::string>& command) {
  const pid_t pid = fork();
  if (pid < 0) return 126;
  if (pid == 0) {
    dup2(open("/dev/null", O_RDWR), STDOUT_FILENO);
    Exec(command);
    _exit(127);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 126;
}

}  // namespace chromium
