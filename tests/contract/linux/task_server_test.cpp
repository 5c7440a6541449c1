#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "support/suite.h"
#include "tabulet_task.h"

namespace {

constexpr char kApp[] = "/ebrmain/bin/linux-contract.app";

std::string SocketPath() {
  for (const auto& entry : fs::directory_iterator("/tmp/tabulet-tasks")) {
    const std::string path = entry.path();
    if (path.find("linux-contract.app") != std::string::npos) return path;
  }
  return "";
}

/// Connects to the task and sends `bytes`.
int Call(const std::string& path, const std::string& bytes) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<int>(bytes.size()));
  return fd;
}

TEST(LinuxTaskServer, SurvivesInvalidCallers) {
  tabulet::TaskServer server(
      kApp, [](int, const std::string& data) { return static_cast<int>(data.size()); });
  std::thread thread([&server] { EXPECT_EQ(server.Run(), 0); });
  EXPECT_TRUE(WaitFor([] { return FindTaskByAppName(kApp) != -1; }));
  const std::string path = SocketPath();
  EXPECT_EQ(fs::status("/tmp/tabulet-tasks").permissions(), fs::perms(0700));

  const std::string request("1BAT\x54\0\0\0\0\0\0\0\x05\0\0\0bytes", 21);
  std::string huge = request;
  huge[15] = '\x7f';
  for (const std::string& sent : {std::string(), std::string("GET / HTTP/1.1\r\n\r\n"), huge,
                                  request.substr(0, 7), request.substr(0, 18), request}) {
    close(Call(path, sent));
  }
  const int silent = Call(path, "");
  const int task = FindTaskByAppName(kApp);
  EXPECT_EQ(SendRequestTo(task, 84, nullptr, 5, 0, 5000), -1);
  EXPECT_EQ(SendRequestTo(task, 84, "x", -1, 0, 5000), -1);
  EXPECT_EQ(SendRequestTo(task, 84, "abc", 3, 0, 10'000), 3);
  server.Stop();
  thread.join();
  close(silent);
  EXPECT_EQ(SocketPath(), "");
}

}  // namespace
