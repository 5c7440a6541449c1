/// \file
/// Runs Chromium and communicates with it over the DevTools protocol.

#ifndef DEVICE_CHROMIUM_DEVTOOLS_PIPE_H_
#define DEVICE_CHROMIUM_DEVTOOLS_PIPE_H_

#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace chromium {

class DevtoolsPipe {
 public:
  /// Starts Chromium. Throws std::runtime_error with one sentence for the user.
  explicit DevtoolsPipe(const std::vector<std::string>& command);
  /// Kills Chromium if it still runs.
  ~DevtoolsPipe();
  DevtoolsPipe(const DevtoolsPipe&) = delete;
  DevtoolsPipe& operator=(const DevtoolsPipe&) = delete;

  /// Sends a command to a session; the empty session is the browser itself.
  /// \return the "id" of the command, which is also that of its response.
  int Send(const std::string& method, const nlohmann::json& params = nlohmann::json::object(),
           const std::string& session = "");

  /// For poll: readable when there are messages, and when Chromium has exited.
  int messages_fd() const { return messages_fd_; }
  /// \return the JSON objects received: events and responses. None when Chromium has exited.
  std::optional<std::vector<nlohmann::json>> ReadMessages();

  /// Waits for Chromium to exit, and kills it after the timeout.
  /// \return the wait status.
  int WaitForExit(int timeout_ms);

 private:
  pid_t pid_ = -1;
  int commands_fd_ = -1;
  int messages_fd_ = -1;
  int last_id_ = 0;
  std::string buffer_;
};

}  // namespace chromium

#endif  // DEVICE_CHROMIUM_DEVTOOLS_PIPE_H_
