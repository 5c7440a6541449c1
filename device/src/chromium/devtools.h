/// \file
/// A running Chromium, and the DevTools protocol over the pipe to it.

#ifndef DEVICE_CHROMIUM_DEVTOOLS_H_
#define DEVICE_CHROMIUM_DEVTOOLS_H_

#include <sys/types.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace chromium {

class Devtools {
 public:
  /// Starts the program. Throws BrowserError.
  /// \param home  the HOME that it gets.
  Devtools(std::vector<std::string> command, const std::filesystem::path& home);
  /// Ends the program if it still runs.
  ~Devtools();
  Devtools(const Devtools&) = delete;
  Devtools& operator=(const Devtools&) = delete;

  /// Sends a command; its answer comes among the messages. An empty session is the browser itself.
  /// \return the command's number, which its answer has as "id".
  int Send(const std::string& method, const nlohmann::json& params = nlohmann::json::object(),
           const std::string& session = "");

  /// For poll: readable when messages have come, or at the program's end.
  int messages_fd() const { return from_; }
  /// The events and answers that have come, all of them objects; none at the program's end.
  std::optional<std::vector<nlohmann::json>> ReadMessages();

  /// Waits for the program's end, for at most so long, and then ends it.
  /// \return the wait status.
  int WaitForEnd(int timeout_ms);

 private:
  pid_t pid_ = -1;
  int to_ = -1;
  int from_ = -1;
  int last_id_ = 0;
  std::string buffer_;
};

}  // namespace chromium

#endif  // DEVICE_CHROMIUM_DEVTOOLS_H_
