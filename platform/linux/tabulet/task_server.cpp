#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"
#include "platform/linux/tabulet/task_channel.h"
#include "tabulet_task.h"

namespace tabulet {
namespace {

using saltmoor::platform::CatchAtBoundary;
using saltmoor::platform::Deadline;
using saltmoor::platform::DirectoryLock;
using saltmoor::platform::Error;
using saltmoor::platform::kMaxRequest_bytes;
using saltmoor::platform::kTaskDirectory;
using saltmoor::platform::Log;
using saltmoor::platform::LogLevel;
using saltmoor::platform::RequestHeader;
using saltmoor::platform::UniqueFd;

/// Creates the directory of the tasks' sockets. A directory of another user is refused: its owner
/// could intercept requests.
Error CreateTaskDirectory() {
  if (mkdir(kTaskDirectory, 0700) != 0 && errno != EEXIST) {
    return Error::System(errno, std::string("cannot create ") + kTaskDirectory);
  }
  struct stat status;
  if (lstat(kTaskDirectory, &status) != 0) {
    return Error::System(errno, std::string("cannot examine ") + kTaskDirectory);
  }
  if (S_ISDIR(status.st_mode) && status.st_uid == geteuid()) return {};
  return Error::InvalidData(std::string(kTaskDirectory) +
                            " is not a directory of this user: delete it, or run as its owner");
}

}  // namespace

class TaskServer::Impl {
 public:
  Impl(const std::string& app_path, Handler handler)
      : socket_path_(saltmoor::platform::SocketPath(app_path)), handler_(std::move(handler)) {}

  int Run();
  void Stop() noexcept;

 private:
  Error Listen();
  Error ServeCallers();
  Error ServeRequest(int caller);
  int HandleRequest(int request, const std::string& data);
  void RemoveSocket();

  const std::string socket_path_;
  const Handler handler_;
  const UniqueFd stop_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
  UniqueFd listener_;
};

int TaskServer::Impl::Run() {
  Error error = stop_ ? Listen() : Error::System(EMFILE, "cannot create a task");
  if (!error) {
    error = ServeCallers();
    RemoveSocket();
  }
  if (error) Log(LogLevel::kError, error.message());
  return error ? -1 : 0;
}

void TaskServer::Impl::Stop() noexcept {
  const int caller_errno = errno;
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(stop_.get(), &one, sizeof one);
  errno = caller_errno;
}

Error TaskServer::Impl::Listen() {
  if (Error error = CreateTaskDirectory()) return error;
  const DirectoryLock lock(kTaskDirectory);  // against a concurrent start of the same program
  Error error = saltmoor::platform::Bind(socket_path_, &listener_);
  if (error.IsSystem(EADDRINUSE)) {
    UniqueFd probe;
    Error failure = Connect(socket_path_, Deadline(0), &probe);
    if (!failure || failure.IsSystem(EAGAIN)) {
      return Error::System(EADDRINUSE, "the task is already running at " + socket_path_);
    }
    if (!failure.IsSystem(ECONNREFUSED)) return failure;
    unlink(socket_path_.c_str());  // of a killed process
    error = saltmoor::platform::Bind(socket_path_, &listener_);
  }
  if (error) return error;
  if (listen(listener_.get(), SOMAXCONN) == 0) return {};
  return Error::System(errno, "cannot listen at " + socket_path_);
}

/// Removes the socket's path before the socket is closed, so that no caller finds a closed one.
void TaskServer::Impl::RemoveSocket() {
  const DirectoryLock lock(kTaskDirectory);
  unlink(socket_path_.c_str());
  listener_ = UniqueFd();
}

Error TaskServer::Impl::ServeCallers() {
  for (;;) {
    pollfd polled[] = {{listener_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
    if (poll(polled, 2, -1) < 0 && errno != EINTR) {
      return Error::System(errno, "cannot wait for callers");
    }
    if (polled[1].revents != 0) return {};
    if (polled[0].revents == 0) continue;
    const UniqueFd caller(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!caller) {
      // Without free descriptors an immediate retry would be a busy loop.
      if (errno == EMFILE || errno == ENFILE) poll(nullptr, 0, 50);
      continue;
    }
    if (const Error error = ServeRequest(caller.get())) Log(LogLevel::kTrace, error.message());
  }
}

Error TaskServer::Impl::ServeRequest(int caller) {
  constexpr int kCallerTimeout_ms = 500;
  const Deadline deadline(kCallerTimeout_ms);
  RequestHeader header;
  if (Error error = ReceiveAll(caller, &header, sizeof header, deadline, stop_.get())) return error;
  if (header.magic != RequestHeader::kMagic || header.size_bytes > kMaxRequest_bytes) {
    return Error::InvalidData("a caller sent an invalid request");
  }
  std::string data(header.size_bytes, '\0');
  if (Error error = ReceiveAll(caller, data.data(), data.size(), deadline, stop_.get())) {
    return error;
  }
  const std::int32_t answer = HandleRequest(header.request, data);
  return SendAll(caller, &answer, sizeof answer, Deadline(kCallerTimeout_ms));
}

int TaskServer::Impl::HandleRequest(int request, const std::string& data) {
  return CatchAtBoundary(-1, [&] { return handler_(request, data); });
}

TaskServer::TaskServer(const std::string& app_path, Handler handler)
    : impl_(std::make_unique<Impl>(app_path, std::move(handler))) {}

TaskServer::~TaskServer() = default;

int TaskServer::Run() {
  return CatchAtBoundary(-1, [this] { return impl_->Run(); });
}

void TaskServer::Stop() noexcept {
  impl_->Stop();
}

}  // namespace tabulet
