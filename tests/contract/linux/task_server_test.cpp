#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "tabulet.h"
#include "tabulet_task.h"

namespace {

constexpr char kApp[] = "/ebrmain/bin/linux-contract.app";

std::string SocketPath() {
  for (const auto& entry : std::filesystem::directory_iterator("/tmp/tabulet-tasks")) {
    std::string path = entry.path();
    if (path.find("linux-contract.app") != std::string::npos) return path;
  }
  return "";
}

int ConnectTo(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  return fd;
}

TEST(LinuxTaskServer, SurvivesInvalidCallers) {
  tabulet::TaskServer server(
      kApp, [](int, const std::string& data) { return static_cast<int>(data.size()); });
  std::thread thread([&server] { EXPECT_EQ(server.Run(), 0); });
  while (FindTaskByAppName(kApp) == -1) std::this_thread::yield();
  const std::string path = SocketPath();

  struct stat directory;
  ASSERT_EQ(stat("/tmp/tabulet-tasks", &directory), 0);
  EXPECT_EQ(directory.st_mode & 0777, 0700U);

  const std::string request("1BAT\x54\0\0\0\0\0\0\0\x05\0\0\0bytes", 21);
  std::string huge = request;
  huge[15] = '\x7f';
  for (const std::string& sent : {std::string(), std::string("GET / HTTP/1.1\r\n\r\n"), huge,
                                  request.substr(0, 7), request.substr(0, 18), request}) {
    const int fd = ConnectTo(path);
    EXPECT_EQ(send(fd, sent.data(), sent.size(), MSG_NOSIGNAL), static_cast<ssize_t>(sent.size()));
    close(fd);
  }
  const int silent = ConnectTo(path);
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
