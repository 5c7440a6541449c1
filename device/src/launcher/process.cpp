#include "process.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

namespace launcher {

sigset_t ForwardedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2}) {
    sigaddset(&signals, number);
  }
  return signals;
}

int Exec(const Command& command) {
  std::vector<char*> arguments;
  for (const std::string& argument : command)
    arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  return errno;
}

void EndChildren(pid_t spared) {
  const std::string self = std::to_string(getpid());
  for (bool found = true; found;) {
    found = false;
    std::ifstream children("/proc/" + self + "/task/" + self + "/children");
    for (pid_t child; children >> child;) {
      if (child == spared) continue;
      found = true;
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
    }
  }
}

int ExitCode(int status) {
  return WIFSIGNALED(status) ? kExitSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
}

void Send(int socket, int value) {
  send(socket, &value, sizeof value, MSG_NOSIGNAL);
}

bool Receive(int socket, int* value, int flags) {
  ssize_t size;
  do {
    size = recv(socket, value, sizeof *value, flags);
  } while (size < 0 && errno == EINTR);
  return size == sizeof *value;
}

}  // namespace launcher
