#ifndef TESTS_CONTRACT_SUPPORT_FORKED_PROCESS_H_
#define TESTS_CONTRACT_SUPPORT_FORKED_PROCESS_H_

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

/// A child process that runs `body` and exits with its result. The destructor kills it if Wait was
/// not called.
class ForkedProcess {
 public:
  explicit ForkedProcess(const std::function<int()>& body) : pid_(fork()) {
    if (pid_ == 0) _exit(body());
  }
  ~ForkedProcess() {
    if (pid_ > 0) Kill();
  }
  ForkedProcess(const ForkedProcess&) = delete;
  ForkedProcess& operator=(const ForkedProcess&) = delete;

  void Signal(int number) const { kill(pid_, number); }
  int Kill() {
    Signal(SIGKILL);
    return Wait();
  }
  /// \return the exit code; minus the signal's number if a signal killed the child.
  int Wait() {
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  pid_t pid_;
};

#endif  // TESTS_CONTRACT_SUPPORT_FORKED_PROCESS_H_
