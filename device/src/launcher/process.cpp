#include "process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "../util.h"

namespace launcher {

sigset_t ForwardedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2}) {
    sigaddset(&signals, number);
  }
  return signals;
}

int OpenPidfd(pid_t process) {
  return static_cast<int>(
      syscall(SYS_pidfd_open, process, 0));  // glibc 2.36 declares it for C only
}

namespace {

/// Kills a child and waits until it has exited. The descriptor, unlike the id, cannot name another
/// process meanwhile.
/// \return false if the process is not a child of this one.
bool KillChild(pid_t child) {
  const int pidfd = OpenPidfd(child);
  const auto id = static_cast<id_t>(pidfd);
  siginfo_t ignored;
  const bool is_child = waitid(P_PIDFD, id, &ignored, WEXITED | WNOHANG | WNOWAIT) == 0;
  if (is_child) {
    syscall(SYS_pidfd_send_signal, pidfd, SIGKILL, nullptr, 0);
    waitid(P_PIDFD, id, &ignored, WEXITED);
  }
  close(pidfd);
  return is_child;
}

}  // namespace

void KillChildrenExcept(pid_t survivor) {
  const std::string self = std::to_string(getpid());
  for (bool found = true; found;) {
    found = false;
    std::ifstream children("/proc/" + self + "/task/" + self + "/children");
    for (pid_t child; children >> child;) {
      if (child != survivor && KillChild(child)) found = true;
    }
  }
}

int ToExitCode(int status) {
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

namespace {

class Supervisor {
 public:
  Supervisor() {
    const sigset_t signals = ForwardedSignals();
    signals_fd_ = signalfd(-1, &signals, SFD_CLOEXEC);
    errors_fd_ = memfd_create("errors", MFD_CLOEXEC);
  }

  SandboxRun Run(const Command& command, const InitOptions& init) {
    under_proot_ = init.under_proot;
    Start(command, init);
    while (!finished_) {
      pollfd polled[] = {{channel_fd_, POLLIN, 0},
                         {signals_fd_, POLLIN, 0},
                         {init_pidfd_, POLLIN, 0},
                         {sandbox_pidfd_, POLLIN, 0}};
      poll(polled, 4, -1);
      if (polled[0].revents != 0) ReadReports();
      if (polled[1].revents != 0) HandleSignal();
      if (polled[2].revents != 0) {
        KillChildrenExcept(sandbox_);  // proot waits for the orphans of an init that was killed
        init_pidfd_ = -1;
      }
      if (polled[3].revents != 0) HandleSandboxEnd();
    }
    KillChildrenExcept(kNoProcess);
    run_.error = ReadErrors();
    if (run_.started && !run_.error.empty()) std::fprintf(stderr, "%s\n", run_.error.c_str());
    return run_;
  }

 private:
  void Start(Command command, InitOptions init) {
    int channel[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, channel) != 0) {
      throw LaunchError(std::string("cannot create a socket: ") + std::strerror(errno) +
                        "; close other programs");
    }
    channel_fd_ = channel[0];
    init.channel_fd = channel[1];  // stays open here, so that poll never reports the stream's end
    init.stderr_fd = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const Command arguments = init.Serialize();
    command.insert(command.end(), arguments.begin(), arguments.end());
    sandbox_ = fork();
    if (sandbox_ < 0) {
      throw LaunchError(std::string("cannot start a process: ") + std::strerror(errno) +
                        "; close other programs");
    }
    sandbox_pidfd_ = OpenPidfd(sandbox_);
    if (sandbox_ > 0) return;
    // The sandbox outlives this process: the init must be able to kill the program inside it.
    fcntl(init.channel_fd, F_SETFD, 0);
    fcntl(init.stderr_fd, F_SETFD, 0);
    dup2(errors_fd_, STDERR_FILENO);
    const int error = Exec(command);
    std::fprintf(stderr, "%s: %s\n", command[0].c_str(), std::strerror(error));
    _exit(1);
  }

  void ReadReports() {
    for (int report; Receive(channel_fd_, &report, MSG_DONTWAIT);) {
      if (run_.started) {
        run_.exit_code = report;
      } else {
        run_.started = true;
        if (under_proot_) init_pidfd_ = OpenPidfd(report);
        Send(channel_fd_, kStartProgram);
      }
    }
  }

  /// Forwards a signal, or stops launching if the program has not started.
  void HandleSignal() {
    signalfd_siginfo info;
    if (read(signals_fd_, &info, sizeof info) != sizeof info) return;
    const int number = static_cast<int>(info.ssi_signo);
    if (!run_.started) {
      run_.started = finished_ = true;
      run_.exit_code = kExitSignalBase + number;
    } else if (info.ssi_code != SI_KERNEL || (number == SIGHUP && getsid(0) == getpid())) {
      // The terminal sends a signal to all foreground processes, but SIGHUP to the session leader.
      Send(channel_fd_, number);
    }
  }

  void HandleSandboxEnd() {
    int status = 0;
    waitpid(sandbox_, &status, 0);
    ReadReports();
    if (run_.exit_code < 0) run_.exit_code = ToExitCode(status);
    finished_ = true;
  }

  std::string ReadErrors() const {
    char errors[4096];
    const ssize_t size = pread(errors_fd_, errors, sizeof errors, 0);
    const std::string text(errors, size > 0 ? static_cast<std::size_t>(size) : 0);
    return text.substr(0, text.find_last_not_of('\n') + 1);
  }

  int channel_fd_ = -1;
  int signals_fd_ = -1;
  int errors_fd_ = -1;  ///< the sandbox program's own standard error
  pid_t sandbox_ = -1;
  int sandbox_pidfd_ = -1;
  int init_pidfd_ = -1;  ///< of the init under proot; bwrap's has no process id here
  bool under_proot_ = false;
  bool finished_ = false;
  SandboxRun run_;
};

}  // namespace

void BlockSignalsAndAdoptOrphans() {
  signal(SIGCHLD, SIG_DFL);
  const sigset_t signals = ForwardedSignals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  // If a standard stream is closed, the next descriptor that is opened must not take its number.
  while (open("/dev/null", O_RDWR | O_CLOEXEC) <= STDERR_FILENO) {
  }
}

SandboxRun RunInSandbox(const Command& command, const InitOptions& init) {
  return Supervisor().Run(command, init);
}

}  // namespace launcher
