/// \file
/// What both sides of a task's socket agree on.

#ifndef PLATFORM_LINUX_TABULET_TASK_CHANNEL_H_
#define PLATFORM_LINUX_TABULET_TASK_CHANNEL_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/linux/common/error.h"
#include "platform/linux/common/unique_fd.h"

namespace saltmoor::platform {

inline constexpr char kTaskDirectory[] = "/tmp/tabulet-tasks";
inline constexpr std::uint32_t kMaxRequest_bytes = 1 << 20;

/// Goes before the bytes of a request. The answer is one std::int32_t.
struct RequestHeader {
  static constexpr std::uint32_t kMark = 0x54414231;

  std::uint32_t mark = kMark;
  std::int32_t request = 0;
  std::int32_t flags = 0;
  std::uint32_t size_bytes = 0;
};

class Deadline {
 public:
  explicit Deadline(int timeout_ms)
      : end_(std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms)) {}
  /// Never negative.
  int Remaining_ms() const;

 private:
  std::chrono::steady_clock::time_point end_;
};

/// Where the task of that program listens.
std::string SocketPath(const std::string& app_path);

/// A socket bound to nothing; an error when the process has no more.
Error CreateSocket(UniqueFd* socket);

/// Connects to the listener at `path`, and waits while it has too many callers.
Error Connect(int socket, const std::string& path, const Deadline& deadline);

/// Binds to `path`. EADDRINUSE where something is there.
Error Bind(int socket, const std::string& path);

/// Sends, or receives, exactly so many bytes. A connection that ends before is an error, and so is
/// `stop_fd` becoming readable meanwhile.
Error SendAll(int socket, const void* bytes, std::size_t size, const Deadline& deadline,
              int stop_fd = -1);
Error ReceiveAll(int socket, void* bytes, std::size_t size, const Deadline& deadline,
                 int stop_fd = -1);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_TASK_CHANNEL_H_
