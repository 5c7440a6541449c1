#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstring>
#include <string_view>

#include "saltmoor/utilities/browser_authorization.h"
#include "support/suite.h"
#include "support/test_directory.h"

namespace {

using saltmoor::utilities::BrowserAuthorization;

struct Handler : BrowserAuthorization::IEventHandler {
  void UrlChanged(const std::string& url) override { heard += url + " "; }
  void BrowserError() override { heard += "error"; }
  void BrowserClosed() override { heard += "closed"; }
  std::string heard;
};

/// Runs a session whose browser asks on the terminal, then asks there itself. What went well is in
/// the exit code.
int AskOnTerminal() {
  const TestDirectory directory;
  WriteAll(directory / "browser",
           "#!/bin/sh\nstty -echo; read answer; echo http://a.example/?$answer; [ $answer = yes ]");
  std::filesystem::permissions(directory / "browser", std::filesystem::perms::owner_all);
  Handler handler;
  BrowserAuthorization session("test", &handler);
  session.browser_path_ = directory / "browser";
  session.Start("https://shop.example/", {});
  termios modes{};
  tcgetattr(STDIN_FILENO, &modes);
  char line[8] = "";
  const auto got = read(STDIN_FILENO, line, sizeof line);
  const bool asked = handler.heard == "http://a.example/?yes closed";
  const bool interrupted = handler.heard == "error";
  return (asked ? 1 : 0) + (interrupted ? 2 : 0) + (modes.c_lflag & ECHO ? 4 : 0) +
         (std::string_view(line, static_cast<std::size_t>(got)) == "me\n" ? 8 : 0);
}

TEST(BrowserProcess, ReturnsTerminalHoweverItExits) {
  for (const auto& [typed, expected] : {std::pair("yes\n", 1 + 4 + 8), {"\x03", 2 + 4 + 8}}) {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) _exit(AskOnTerminal());
    const auto browser_asks = [&] {
      const pid_t foreground = tcgetpgrp(terminal);
      return foreground > 0 && foreground != child;
    };
    for (int i = 0; i < 500 && !browser_asks(); ++i) usleep(10'000);
    usleep(100'000);  // it has said that nothing shall be echoed
    EXPECT_GT(write(terminal, typed, std::strlen(typed)), 0);
    for (int i = 0; i < 500 && browser_asks(); ++i) usleep(10'000);
    EXPECT_GT(write(terminal, "me\n", 3), 0);
    int status = 0;
    waitpid(child, &status, 0);
    close(terminal);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), expected) << typed;
  }
}

TEST(BrowserProcess, LogsProgramThatCannotRun) {
  const TestDirectory directory;
  Handler handler;
  BrowserAuthorization session("test", &handler);
  for (const std::string& path : {directory / "missing", directory.path()}) {
    session.browser_path_ = path;
    EXPECT_EQ(session.Start("https://shop.example/", {}), -1);
    EXPECT_NE(ReadAll(LogPath()).find("cannot run the browser " + path), std::string::npos);
  }
}

}  // namespace
