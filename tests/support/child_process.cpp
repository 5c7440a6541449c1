#include "support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace tests {

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  std::vector<char*> argv;
  for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(ends[1], STDOUT_FILENO);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  close(ends[1]);
  output_ = ends[0];
  if (pid_ < 0) throw std::runtime_error("no process for " + command.front());
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0) Terminate();
  close(output_);
}

std::string ChildProcess::ReadLine(std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    if (const auto end = buffer_.find('\n'); end != std::string::npos) {
      const std::string line = buffer_.substr(0, end);
      buffer_.erase(0, end + 1);
      return line;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd ready{output_, POLLIN, 0};
    if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) == 0) {
      throw std::runtime_error("no line in time; so far: " + buffer_);
    }
    char bytes[4096];
    const ssize_t got = read(output_, bytes, sizeof bytes);
    if (got <= 0) throw std::runtime_error("the output ended; so far: " + buffer_);
    buffer_.append(bytes, static_cast<std::size_t>(got));
  }
}

int ChildProcess::Terminate() {
  int status = 0;
  kill(pid_, SIGTERM);
  for (int polls = 0; polls < 500; ++polls) {
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      return status;
    }
    usleep(10'000);
  }
  kill(pid_, SIGKILL);
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return status;
}

}  // namespace tests
