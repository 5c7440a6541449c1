#include "platform/linux/tabulet/task_channel.h"

#include <poll.h>
#include <sodium.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace saltmoor::platform {
namespace {

Error WaitFor(int socket, short events, const Deadline& deadline, int stop_fd) {
  for (;;) {
    pollfd polled[] = {{socket, events, 0}, {stop_fd, POLLIN, 0}};
    const int ready = poll(polled, 2, deadline.Remaining_ms());
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0) return Error::System(errno, "cannot wait for a task");
    if (ready == 0) return Error::System(ETIMEDOUT, "no answer in time");
    if (polled[1].revents != 0) return Error::System(ECANCELED, "the task is stopping");
    return {};
  }
}

/// Calls `transfer(done)` until `size` bytes are done; it returns like send and recv.
template <typename Transfer>
Error TransferAll(int socket, short events, std::size_t size, const Deadline& deadline, int stop_fd,
                  const Transfer& transfer) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = transfer(done);
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count == 0) {
      return Error::System(ECONNRESET, "the connection was closed");
    } else if (errno == EAGAIN) {
      if (Error error = WaitFor(socket, events, deadline, stop_fd)) return error;
    } else if (errno != EINTR) {
      return Error::System(errno, "the connection failed");
    }
  }
  return {};
}

/// Creates a socket and the address of `path` for it.
Error Create(const std::string& path, UniqueFd* socket, sockaddr_un* address) {
  *address = {};
  address->sun_family = AF_UNIX;
  if (path.size() >= sizeof address->sun_path) return Error::System(ENAMETOOLONG, path);
  std::memcpy(address->sun_path, path.c_str(), path.size());
  *socket = UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  return *socket ? Error() : Error::System(errno, "cannot create a socket");
}

}  // namespace

int Deadline::Remaining_ms() const {
  using std::chrono::milliseconds;
  const auto remaining =
      std::chrono::ceil<milliseconds>(end_ - std::chrono::steady_clock::now()).count();
  return static_cast<int>(std::max<decltype(remaining)>(remaining, 0));
}

std::string SocketPath(const std::string& app_path) {
  // The path itself may be too long for a socket, and the name alone may be ambiguous.
  constexpr std::size_t kName_bytes = 32;
  unsigned char hash[crypto_generichash_BYTES_MIN];
  char digits[2 * sizeof hash + 1];
  crypto_generichash(hash, sizeof hash, reinterpret_cast<const unsigned char*>(app_path.data()),
                     app_path.size(), nullptr, 0);
  sodium_bin2hex(digits, sizeof digits, hash, sizeof hash);
  const std::string name = app_path.substr(app_path.rfind('/') + 1, kName_bytes);
  return std::string(kTaskDirectory) + "/" + name + "-" + digits + ".sock";
}

Error Connect(const std::string& path, const Deadline& deadline, UniqueFd* socket) {
  sockaddr_un address;
  if (Error error = Create(path, socket, &address)) return error;
  while (connect(socket->get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    // poll cannot wait for space in the backlog of a Unix socket.
    const bool busy = errno == EAGAIN && deadline.Remaining_ms() > 0;
    if (!busy && errno != EINTR) return Error::System(errno, "cannot connect to " + path);
    if (busy) poll(nullptr, 0, std::min(deadline.Remaining_ms(), 10));
  }
  return {};
}

Error Bind(const std::string& path, UniqueFd* socket) {
  sockaddr_un address;
  if (Error error = Create(path, socket, &address)) return error;
  if (bind(socket->get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    return {};
  }
  return Error::System(errno, "cannot create " + path);
}

Error SendAll(int socket, const void* bytes, std::size_t size, const Deadline& deadline,
              int stop_fd) {
  return TransferAll(socket, POLLOUT, size, deadline, stop_fd, [=](std::size_t done) {
    return send(socket, static_cast<const char*>(bytes) + done, size - done, MSG_NOSIGNAL);
  });
}

Error ReceiveAll(int socket, void* bytes, std::size_t size, const Deadline& deadline, int stop_fd) {
  return TransferAll(socket, POLLIN, size, deadline, stop_fd, [=](std::size_t done) {
    return recv(socket, static_cast<char*>(bytes) + done, size - done, 0);
  });
}

}  // namespace saltmoor::platform
