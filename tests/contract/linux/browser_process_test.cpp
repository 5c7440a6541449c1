#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstring>

#include "support/browser_session.h"

namespace {

/// Runs a browser that reads from the terminal, then reads from it too. The exit code has a bit for
/// each success.
int AskOnTerminal() {
  BrowserSession session(
      "stty -echo; read answer; echo http://a.example/?$answer; [ $answer = yes ]");
  session.Run();
  termios modes{};
  tcgetattr(STDIN_FILENO, &modes);
  char line[8] = "";
  const auto got = read(STDIN_FILENO, line, sizeof line);
  const bool asked = session.events == BrowserSession::Lines{"http://a.example/?yes", "closed"};
  const bool interrupted = session.events == BrowserSession::Lines{"error"};
  return (asked ? 1 : 0) + (interrupted ? 2 : 0) + (modes.c_lflag & ECHO ? 4 : 0) +
         (std::string(line, static_cast<std::size_t>(got)) == "me\n" ? 8 : 0);
}

TEST(BrowserProcess, RestoresTerminalOnEveryExit) {
  for (const auto& [typed, expected] : {std::pair("yes\n", 1 + 4 + 8), {"\x03", 2 + 4 + 8}}) {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) _exit(AskOnTerminal());
    const auto browser_in_foreground = [&] {
      const pid_t foreground = tcgetpgrp(terminal);
      return foreground > 0 && foreground != child;
    };
    EXPECT_TRUE(WaitFor(browser_in_foreground));
    usleep(100'000);  // stty has run
    EXPECT_GT(write(terminal, typed, std::strlen(typed)), 0);
    EXPECT_TRUE(WaitFor([&] { return !browser_in_foreground(); }));
    EXPECT_GT(write(terminal, "me\n", 3), 0);
    int status = 0;
    waitpid(child, &status, 0);
    close(terminal);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), expected) << typed;
  }
}

TEST(BrowserProcess, LogsProgramThatCannotRun) {
  BrowserSession session("");
  for (const std::string& path : {session.directory / "missing", session.directory.path()}) {
    session.browser.browser_path_ = path;
    EXPECT_EQ(session.Run(), -1);
    EXPECT_NE(ReadAll(LogPath()).find("cannot run the browser " + path), std::string::npos);
  }
}

}  // namespace
