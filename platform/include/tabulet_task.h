/// \file
/// The receiving side of FindTaskByAppName and SendRequestTo: what a program needs to be a task.

#ifndef TABULET_TASK_H_
#define TABULET_TASK_H_

#include <functional>
#include <memory>
#include <string>

namespace tabulet {

/// Registers the program as a task and answers the requests that are sent to it. Not thread-safe,
/// except for Stop().
class TaskServer {
 public:
  /// Handles one request.
  /// \param request  the code of the request.
  /// \param data  the bytes of the request.
  /// \return the answer, 0 or above. The caller receives -1 for a negative answer or an exception.
  using Handler = std::function<int(int request, const std::string& data)>;

  /// Creates a task, which can be found only while Run() is running.
  /// \param app_path  the path by which callers find the task, such as "/ebrmain/bin/scanner.app",
  ///     whatever file is executed.
  /// \param handler  called on the thread of Run(), one request at a time. Other callers wait
  ///     meanwhile. A caller's time-out does not interrupt it.
  TaskServer(const std::string& app_path, Handler handler);

  /// Must not be called while Run() is running.
  ~TaskServer();

  TaskServer(const TaskServer&) = delete;
  TaskServer& operator=(const TaskServer&) = delete;

  /// Handles requests until Stop() is called. Throws nothing.
  /// \return 0 after Stop(); -1 if the task is already running or its socket cannot be created,
  ///     which is logged.
  int Run();

  /// Makes Run() return after the request in progress; a later Run() returns immediately.
  /// Thread-safe and async-signal-safe.
  void Stop() noexcept;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tabulet

#endif  // TABULET_TASK_H_
