/// \file
/// The other side of FindTaskByAppName and SendRequestTo: what a program needs to be a task.

#ifndef TABULET_TASK_H_
#define TABULET_TASK_H_

#include <functional>
#include <memory>
#include <string>

namespace tabulet {

/// Makes the program findable as a task and answers the requests that are sent to it. Construction
/// and Run() belong on one thread; no member but Stop() may be called while Run() is running.
class TaskServer {
 public:
  /// Answers one request.
  /// \param request  the code that the caller sent.
  /// \param data  the bytes that came with it.
  /// \return the answer, 0 or above. A negative one, and an exception, reach the caller as -1.
  using Handler = std::function<int(int request, const std::string& data)>;

  /// Prepares the task; it is not to be found before Run().
  /// \param app_path  the path of the program as callers know it, such as
  ///     "/ebrmain/bin/scanner.app", whatever file is really run.
  /// \param handler  called on the thread of Run(), one request at a time. While it works, further
  ///     callers wait; a caller that has stopped waiting does not stop it.
  TaskServer(const std::string& app_path, Handler handler);

  /// Run() must have returned.
  ~TaskServer();

  TaskServer(const TaskServer&) = delete;
  TaskServer& operator=(const TaskServer&) = delete;

  /// Serves until Stop(). A failure is logged. Throws nothing.
  /// \return 0 after Stop(); -1 when the program is already running as a task or its place in the
  ///     device's /tmp cannot be made.
  int Run();

  /// Makes Run() return once the request in work is answered; a Run() that is still to come returns
  /// at once. May be called on any thread and in a signal handler.
  void Stop() noexcept;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tabulet

#endif  // TABULET_TASK_H_
