#include "init.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "../util.h"
#include "process.h"

namespace launcher {
namespace {

constexpr char kScanner[] = "/ebrmain/bin/scanner.app";
constexpr char kScannerLog[] = "/tmp/scanner.log";
constexpr int kScannerStopTimeout_ms = 5'000;

// proot translates the paths of the system calls that it knows and passes newer ones on to the
// host's own /tmp and /mnt. If such a call is missing, the C library uses an older one.
// Calls that this system's headers may lack are named by number.
constexpr unsigned kNewerCalls[] = {
    __NR_statx,
    __NR_clone3,
    __NR_openat2,
    __NR_faccessat2,
    __NR_io_uring_setup,
    452 /* fchmodat2 */,
    463 /* setxattrat */,
    464 /* getxattrat */,
    465 /* listxattrat */,
    466 /* removexattrat */,
};

bool DenyNewerCalls() {
  constexpr unsigned kMissing = SECCOMP_RET_ERRNO | ENOSYS;
  std::vector<sock_filter> filter = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
  };
  for (const unsigned call : kNewerCalls) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, kMissing));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

/// Prepares this process and its descendants to run under proot: it is killed when proot exits,
/// adopts orphans, and gets ENOSYS from the system calls that proot does not translate.
/// \return false if proot has exited already: nothing must run then.
bool PrepareForProot() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (!IsTraced()) return false;
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  // proot and a leak sanitizer cannot both trace a process.
  setenv("LSAN_OPTIONS", "detect_leaks=0", 0);
  if (!DenyNewerCalls()) std::perror("quire-device: cannot deny the newer system calls");
  return true;
}

/// The first process on the device: runs the program and the scanner, adopts the processes that
/// they leave, and kills these when the program has exited.
class Init {
 public:
  explicit Init(InitOptions options) : options_(std::move(options)) {
    for (const int fd : {options_.channel_fd, options_.stderr_fd}) fcntl(fd, F_SETFD, FD_CLOEXEC);
    dup2(options_.stderr_fd, STDERR_FILENO);
    sigaddset(&child_signals_, SIGCHLD);
    sigprocmask(SIG_BLOCK, &child_signals_, nullptr);
    child_signals_fd_ = signalfd(-1, &child_signals_, SFD_CLOEXEC | SFD_NONBLOCK);
  }

  int Run() {
    int command;
    if (options_.under_proot && !PrepareForProot()) return 1;
    Send(options_.channel_fd, pid_);
    if (!Receive(options_.channel_fd, &command) || command != kStartProgram) return 1;
    StartProgram();
    if (options_.scanner) StartScanner();
    while (!exit_code_ && !supervisor_exited_) {
      pollfd polled[] = {{options_.channel_fd, POLLIN, 0}, {child_signals_fd_, POLLIN, 0}};
      poll(polled, 2, -1);
      if (polled[0].revents != 0) HandleSupervisor();
      if (polled[1].revents != 0) ReapChildren();
    }
    if (!supervisor_exited_) StopScanner();
    KillChildrenExcept(kNoProcess);
    Send(options_.channel_fd, exit_code_.value_or(1));
    return exit_code_.value_or(1);
  }

 private:
  /// Runs `body` in a child, which is killed when this process exits, and returns its process id.
  template <typename Body>
  pid_t Fork(const Body& body) {
    const pid_t child = fork();
    if (child != 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != pid_) _exit(1);
    const sigset_t signals = ForwardedSignals();
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
    sigprocmask(SIG_UNBLOCK, &child_signals_, nullptr);
    _exit(body());
  }

  void StartProgram() {
    program_ = Fork([&] {
      const int error = Exec(options_.program);
      std::fprintf(stderr, "quire-device: cannot run %s: %s\n", options_.program[0].c_str(),
                   std::strerror(error));
      return error == ENOENT ? kExitNotFound : kExitNotExecutable;
    });
    if (program_ > 0) return;
    std::perror("quire-device: cannot start a process; close other programs");
    exit_code_ = 1;
  }

  void StartScanner() {
    scanner_ = Fork([&] {
      signal(SIGINT, SIG_IGN);  // Ctrl-C is for the program
      signal(SIGQUIT, SIG_IGN);
      const int null_device = open("/dev/null", O_RDWR | O_CLOEXEC);
      dup2(null_device, STDIN_FILENO);
      const int log = OpenScannerLog();
      dup2(log < 0 ? null_device : log, STDOUT_FILENO);
      dup2(STDOUT_FILENO, STDERR_FILENO);
      return Exec({kScanner});
    });
  }

  /// Opens a new log, which its owner alone can read. A link or a pipe of its name is not opened.
  static int OpenScannerLog() {
    const int log =
        open(kScannerLog,
             O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    fchmod(log, 0600);  // of an earlier version, which let all users read it
    return log;
  }

  /// Lets the scanner finish what it writes.
  void StopScanner() {
    if (scanner_ < 0) return;
    kill(scanner_, SIGTERM);
    pollfd polled[] = {{OpenPidfd(scanner_), POLLIN, 0}, {options_.channel_fd, POLLIN, 0}};
    poll(polled, 2, kScannerStopTimeout_ms);
  }

  void HandleSupervisor() {
    int signal_number;
    supervisor_exited_ = !Receive(options_.channel_fd, &signal_number);
    if (!supervisor_exited_) kill(program_, signal_number);
  }

  void ReapChildren() {
    signalfd_siginfo ignored;
    while (read(child_signals_fd_, &ignored, sizeof ignored) > 0) {
    }
    int status;
    for (pid_t child; (child = waitpid(-1, &status, WNOHANG)) > 0;) {
      if (child == program_) exit_code_ = ToExitCode(status);
      if (child != scanner_) continue;
      scanner_ = -1;
      if (status == 0) continue;
      std::fprintf(stderr,
                   "quire-device: the scanner has failed, so new books are missing in the library; "
                   "see %s on the device\n",
                   kScannerLog);
    }
  }

  const InitOptions options_;
  const pid_t pid_ = getpid();
  sigset_t child_signals_{};
  int child_signals_fd_ = -1;
  pid_t program_ = -1;
  pid_t scanner_ = -1;  ///< -1 unless it runs
  std::optional<int> exit_code_;
  bool supervisor_exited_ = false;
};

}  // namespace

Command InitOptions::Serialize() const {
  Command arguments = {kInitOption, under_proot ? "proot" : "-", scanner ? "scanner" : "-",
                       std::to_string(channel_fd), std::to_string(stderr_fd)};
  arguments.insert(arguments.end(), program.begin(), program.end());
  return arguments;
}

int RunInit(const Command& arguments) {
  InitOptions options;
  try {
    options = {.under_proot = arguments.at(1) == "proot",
               .scanner = arguments.at(2) == "scanner",
               .channel_fd = std::stoi(arguments.at(3)),
               .stderr_fd = std::stoi(arguments.at(4)),
               .program = {arguments.begin() + 5, arguments.end()}};
  } catch (const std::logic_error&) {
  }
  if (options.program.empty()) {
    throw LaunchError("--inside is the launcher's own option; see quire-device --help");
  }
  return Init(std::move(options)).Run();
}

}  // namespace launcher
