/// \file
/// The protocol between a task and its callers, over a Unix socket.

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

/// Precedes the bytes of a request. The answer is one std::int32_t.
struct RequestHeader {
  static constexpr std::uint32_t kMagic = 0x54414231;

  std::uint32_t magic = kMagic;
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

/// The path of the socket of a task.
std::string SocketPath(const std::string& app_path);

/// Connects to the socket at `path`; waits while its backlog is full.
Error Connect(const std::string& path, const Deadline& deadline, UniqueFd* socket);

/// Creates a socket at `path`. Fails with EADDRINUSE if the path exists.
Error Bind(const std::string& path, UniqueFd* socket);

/// Sends or receives exactly `size` bytes. Fails if the connection ends first or `stop_fd` becomes
/// readable.
Error SendAll(int socket, const void* bytes, std::size_t size, const Deadline& deadline,
              int stop_fd = -1);
Error ReceiveAll(int socket, void* bytes, std::size_t size, const Deadline& deadline,
                 int stop_fd = -1);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_TASK_CHANNEL_H_
