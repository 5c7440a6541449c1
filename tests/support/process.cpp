#include "support/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>

namespace tests {
namespace {

constexpr long kTimeout_ms = 30'000;

long Now_ms() {
  using std::chrono::milliseconds;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<milliseconds>(now).count();
}

[[noreturn]] void Exec(const Command& command, const Environment& environment) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // the process must not outlive a crashed test
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_DFL);
  for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  _exit(125);
}

void ReadFrom(int* fd, std::string* text) {
  char buffer[4096];
  const ssize_t count = read(*fd, buffer, sizeof buffer);
  if (count > 0) {
    text->append(buffer, static_cast<std::size_t>(count));
  } else {
    close(*fd);
    *fd = -1;
  }
}

}  // namespace

Process::Process(const Command& command, const Environment& environment, On on) {
  if (on == On::kTerminal) {
    pid_ = forkpty(&out_, nullptr, nullptr, nullptr);
    if (pid_ == 0) Exec(command, environment);
    return;
  }
  int out[2], err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    setsid();  // without a controlling terminal
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    Exec(command, environment);
  }
  close(out[1]);
  close(err[1]);
  out_ = out[0];
  err_ = err[0];
}

Process::~Process() {
  if (pid_ > 0) {
    kill(-pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  for (const int fd : {out_, err_}) {
    if (fd >= 0) close(fd);
  }
}

void Process::Kill(int signal) const {
  kill(pid_, signal);
}

void Process::Type(const std::string& text) const {
  ASSERT_EQ(write(out_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

/// \return false at the end of the output or at the deadline.
bool Process::ReadMore(long deadline_ms) {
  pollfd polled[] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
  const long left_ms = deadline_ms - Now_ms();
  if ((out_ < 0 && err_ < 0) || left_ms <= 0) return false;
  if (poll(polled, 2, static_cast<int>(left_ms)) <= 0) return false;
  if (polled[0].revents != 0) ReadFrom(&out_, &result_.out);
  if (polled[1].revents != 0) ReadFrom(&err_, &result_.err);
  return true;
}

bool Process::WaitForOutput(const std::string& text) {
  const long deadline_ms = Now_ms() + kTimeout_ms;
  while (result_.out.find(text) == std::string::npos) {
    if (!ReadMore(deadline_ms)) return false;
  }
  return true;
}

ProcessResult Process::Wait() {
  const long deadline_ms = Now_ms() + kTimeout_ms;
  while (ReadMore(deadline_ms)) {
  }
  if (Now_ms() >= deadline_ms) {
    ADD_FAILURE() << "still running after " << kTimeout_ms << " ms; its output so far:\n"
                  << result_.out << result_.err;
    kill(-pid_, SIGKILL);
  }
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  result_.exit_code = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  return result_;
}

bool WaitUntil(const std::function<bool()>& condition, int timeout_s) {
  const long deadline_ms = Now_ms() + timeout_s * 1000L;
  while (!condition()) {
    if (Now_ms() > deadline_ms) return false;
    usleep(2'000);
  }
  return true;
}

ProcessResult RunProgram(const Command& command, const Environment& environment) {
  return Process(command, environment).Wait();
}

}  // namespace tests
