#include "platform/linux/tabulet/notification.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace saltmoor::platform {
namespace {

bool HasDesktop() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return true;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  return runtime && access((std::string(runtime) + "/bus").c_str(), F_OK) == 0;
}

/// Runs the program in place of this process. Only calls that are safe after a fork.
[[noreturn]] void Exec(const char* const* arguments) {
  constexpr unsigned kMaxRun_s = 10;
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  signal(SIGALRM, SIG_DFL);
  const int null = open("/dev/null", O_RDWR);
  for (int fd = 0; fd <= 2; ++fd) dup2(null, fd);
  close_range(3, ~0U, 0);
  alarm(kMaxRun_s);  // outlives the exec: a desktop that does not answer keeps nothing behind
  execvp(arguments[0], const_cast<char* const*>(arguments));
  _exit(127);
}

}  // namespace

void NotifyDesktop(const std::string& icon, const std::string& title, const std::string& text,
                   int timeout_ms) {
  if (!HasDesktop()) return;
  const std::string timeout = std::to_string(timeout_ms);
  const char* const arguments[] = {"notify-send", "-t",         timeout.c_str(),
                                   "-i",          icon.c_str(), "--",
                                   title.c_str(), text.c_str(), nullptr};
  // The program is the child of a child that ends at once: so it is not ours to wait for.
  const pid_t child = fork();
  if (child == 0) {
    if (fork() == 0) Exec(arguments);
    _exit(0);
  }
  while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace saltmoor::platform
