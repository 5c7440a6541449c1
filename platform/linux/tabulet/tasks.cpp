#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/common/log.h"
#include "platform/linux/tabulet/task_channel.h"
#include "tabulet.h"

namespace saltmoor::platform {
namespace {

/// Assigns task numbers to program paths, until the process exits. Thread-safe.
class TaskNumbers {
 public:
  int GetNumber(const std::string& app_path) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto known = std::find(app_paths_.begin(), app_paths_.end(), app_path);
    if (known != app_paths_.end()) return static_cast<int>(known - app_paths_.begin());
    app_paths_.push_back(app_path);
    return static_cast<int>(app_paths_.size()) - 1;
  }

  /// Empty if there is no such task.
  std::string GetAppPath(int task) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return task >= 0 && static_cast<std::size_t>(task) < app_paths_.size() ? app_paths_[task] : "";
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> app_paths_;
};

TaskNumbers& GetTaskNumbers() {
  static TaskNumbers& numbers = *new TaskNumbers;
  return numbers;
}

bool IsRunning(const std::string& app_path) {
  UniqueFd socket;
  const Error error = Connect(SocketPath(app_path), Deadline(0), &socket);
  return !error || error.IsSystem(EAGAIN);  // its backlog is full
}

Error Exchange(const std::string& app_path, const RequestHeader& header, const void* data,
               const Deadline& deadline, std::int32_t* answer) {
  UniqueFd socket;
  const std::string path = SocketPath(app_path);
  if (Error error = Connect(path, deadline, &socket)) return error;
  if (Error error = SendAll(socket.get(), &header, sizeof header, deadline)) return error;
  if (Error error = SendAll(socket.get(), data, header.size_bytes, deadline)) return error;
  return ReceiveAll(socket.get(), answer, sizeof *answer, deadline);
}

int Send(int task, const RequestHeader& header, const void* data, int timeout_ms) {
  const std::string app_path = GetTaskNumbers().GetAppPath(task);
  if (app_path.empty()) return -1;
  std::int32_t answer = -1;
  const Error error = Exchange(app_path, header, data, Deadline(timeout_ms), &answer);
  if (!error) return std::max(answer, -1);
  Log(LogLevel::kError, "request " + std::to_string(header.request) + " to " + app_path +
                            " failed: " + error.message());
  return -1;
}

}  // namespace
}  // namespace saltmoor::platform

namespace platform = saltmoor::platform;

int FindTaskByAppName(const char* app) {
  if (!app) return -1;
  return platform::CatchAtBoundary(-1, [app] {
    return platform::IsRunning(app) ? platform::GetTaskNumbers().GetNumber(app) : -1;
  });
}

int SendRequestTo(int task, int request, const void* data, int size, int flags, int timeout_ms) {
  if (size < 0 || (size > 0 && !data)) return -1;
  platform::RequestHeader header;
  header.request = request;
  header.flags = flags;
  header.size_bytes = static_cast<std::uint32_t>(size);
  const auto send = [&] { return platform::Send(task, header, data, timeout_ms); };
  return platform::CatchAtBoundary(-1, send);
}
