#include "devtools_pipe.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "process.h"

namespace chromium {

using nlohmann::json;

DevtoolsPipe::DevtoolsPipe(const std::vector<std::string>& command) {
  std::array<int, 2> commands;
  std::array<int, 2> messages;
  const int null_device = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (pipe2(commands.data(), O_CLOEXEC) != 0 || pipe2(messages.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("there are no file descriptors left for the browser");
  }
  commands_fd_ = commands[1];
  messages_fd_ = messages[0];
  const int log = std::getenv("QUIRE_BROWSER_VERBOSE") ? STDERR_FILENO : null_device;
  // Chromium reads commands from descriptor 3 and writes messages to descriptor 4.
  pid_ = StartProcess(command, {null_device, null_device, log, commands[0], messages[1]});
  for (const int fd : {null_device, commands[0], messages[1]}) close(fd);
  if (pid_ < 0) throw std::runtime_error("the browser cannot be started; close other programs");
}

DevtoolsPipe::~DevtoolsPipe() {
  if (pid_ > 0) WaitForExit(0);
  close(commands_fd_);
  close(messages_fd_);
}

int DevtoolsPipe::Send(const std::string& method, const json& params, const std::string& session) {
  json message = {{"id", ++last_id_}, {"method", method}, {"params", params}};
  if (!session.empty()) message["sessionId"] = session;
  std::string bytes = message.dump(-1, ' ', false, json::error_handler_t::replace);
  bytes += '\0';
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t count = write(commands_fd_, bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) break;  // Chromium has exited; ReadMessages reports it
    done += static_cast<std::size_t>(count);
  }
  return last_id_;
}

std::optional<std::vector<json>> DevtoolsPipe::ReadMessages() {
  std::array<char, 65536> bytes;
  const ssize_t count = read(messages_fd_, bytes.data(), bytes.size());
  if (count < 0 && errno == EINTR) return std::vector<json>();
  if (count <= 0) return {};
  buffer_.append(bytes.data(), static_cast<std::size_t>(count));
  std::vector<json> messages;
  for (std::size_t end; (end = buffer_.find('\0')) != std::string::npos;) {
    json message = json::parse(buffer_.substr(0, end), nullptr, false);
    buffer_.erase(0, end + 1);
    if (message.is_object()) messages.push_back(std::move(message));
  }
  return messages;
}

int DevtoolsPipe::WaitForExit(int timeout_ms) {
  pollfd exited = {static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)), POLLIN, 0};
  if (poll(&exited, 1, timeout_ms) <= 0) kill(pid_, SIGKILL);
  close(exited.fd);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return status;
}

}  // namespace chromium
