#ifndef TESTS_CONTRACT_SUPPORT_CHILD_H_
#define TESTS_CONTRACT_SUPPORT_CHILD_H_

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

/// A child process that runs `body` and exits with its result. The destructor kills it if Wait was
/// not called.
class Child {
 public:
  explicit Child(const std::function<int()>& body) : pid_(fork()) {
    if (pid_ == 0) _exit(body());
  }
  ~Child() {
    if (pid_ > 0) Kill();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

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

#endif  // TESTS_CONTRACT_SUPPORT_CHILD_H_
