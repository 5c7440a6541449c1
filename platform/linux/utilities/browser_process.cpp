#include "platform/linux/utilities/browser_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>

extern char** environ;

namespace saltmoor::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxLine_bytes = 64 << 10;
constexpr std::size_t kMaxRead_bytes = 64 << 10;  // in one call, so that time goes on in a flood
constexpr std::chrono::seconds kTerminationTimeout{2};
constexpr int kTerminationPoll_ms = 20;

/// What the program gets from us beside its arguments.
class SpawnOptions {
 public:
  SpawnOptions(int output, const ForegroundTerminal& terminal) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
    if (terminal.possible()) posix_spawn_file_actions_addtcsetpgrp_np(&actions_, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);

    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setpgroup(&attributes_, 0);
    const int group = terminal.shared() ? 0 : POSIX_SPAWN_SETPGROUP;
    posix_spawnattr_setflags(
        &attributes_, static_cast<short>(group | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
  }
  ~SpawnOptions() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnOptions(const SpawnOptions&) = delete;
  SpawnOptions& operator=(const SpawnOptions&) = delete;

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

std::string DescribeExit(const siginfo_t& end) {
  if (end.si_code == CLD_EXITED) {
    return end.si_status == 0 ? "" : "exit code " + std::to_string(end.si_status);
  }
  return "signal " + std::to_string(end.si_status);
}

}  // namespace

BrowserProcess::~BrowserProcess() {
  if (pid_ != 0) Terminate();
}

Error BrowserProcess::Start(const std::string& program, const std::vector<std::string>& args) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return Error::System(errno, "cannot make a pipe for " + program);
  UniqueFd ours(ends[0]);
  const UniqueFd theirs(ends[1]);
  fcntl(ours.get(), F_SETFL, O_NONBLOCK);

  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);

  const SpawnOptions options(theirs.get(), terminal_);
  pid_t pid = 0;
  const int failure = posix_spawn(&pid, program.c_str(), options.actions(), options.attributes(),
                                  argv.data(), environ);
  if (failure != 0) return Error::System(failure, "cannot run the browser " + program);
  pid_ = pid;
  output_ = std::move(ours);
  return {};
}

std::vector<std::string> BrowserProcess::ReadLines(int wait_ms) {
  // A descriptor of -1, after the end of the output, makes poll a mere wait.
  pollfd output{output_.get(), POLLIN, 0};
  poll(&output, 1, wait_ms);

  std::vector<std::string> lines;
  char block[4096];
  for (std::size_t total = 0; output_ && total < kMaxRead_bytes;) {
    const ssize_t got = read(output_.get(), block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && errno == EAGAIN) break;
    if (got <= 0) {
      output_ = UniqueFd();
      break;
    }
    SplitLines(block, static_cast<std::size_t>(got), &lines);
    total += static_cast<std::size_t>(got);
  }
  return lines;
}

void BrowserProcess::SplitLines(const char* bytes, std::size_t size,
                                std::vector<std::string>* lines) {
  const char* const end = bytes + size;
  while (bytes != end) {
    const char* const stop = std::find(bytes, end, '\n');
    if (line_.size() + static_cast<std::size_t>(stop - bytes) > kMaxLine_bytes) {
      line_too_long_ = true;
      line_.clear();
    }
    if (!line_too_long_) line_.append(bytes, stop);
    if (stop == end) return;
    if (!line_too_long_) lines->push_back(std::move(line_));
    line_.clear();
    line_too_long_ = false;
    bytes = stop + 1;
  }
}

void BrowserProcess::Signal(int signal) const {
  kill(terminal_.shared() ? pid_ : -pid_, signal);
}

bool BrowserProcess::HasExited() {
  if (exited_) return true;
  siginfo_t state{};
  // Ctrl-Z at the browser would leave nobody at the terminal: it goes on.
  if (waitid(P_PID, static_cast<id_t>(pid_), &state, WSTOPPED | WNOHANG) == 0 &&
      state.si_pid != 0 && state.si_status == SIGTSTP) {
    Signal(SIGCONT);
  }
  state = {};
  const int waited = waitid(P_PID, static_cast<id_t>(pid_), &state, WEXITED | WNOHANG | WNOWAIT);
  if (waited == 0 && state.si_pid == 0) return false;

  // Not reaped yet, the program still holds its number, so that no stranger can have the group's.
  Signal(SIGKILL);
  waitid(P_PID, static_cast<id_t>(pid_), nullptr, WEXITED);
  // Where the application ignores SIGCHLD nobody learns how the program ended.
  if (waited == 0) failure_ = DescribeExit(state);
  terminal_.Reclaim(pid_);
  exited_ = true;
  return true;
}

void BrowserProcess::Terminate() {
  if (HasExited()) return;
  Signal(SIGTERM);
  Signal(SIGCONT);  // a stopped program cannot obey
  const Clock::time_point deadline = Clock::now() + kTerminationTimeout;
  while (!HasExited()) {
    if (Clock::now() >= deadline) Signal(SIGKILL);
    ReadLines(kTerminationPoll_ms);  // a program that is writing cannot obey either
  }
}

}  // namespace saltmoor::platform
