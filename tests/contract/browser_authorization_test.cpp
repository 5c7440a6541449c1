#include "saltmoor/utilities/browser_authorization.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string_view>
#include <thread>

#include "tests/contract/support/workshop.h"

namespace {

using saltmoor::utilities::BrowserAuthorization;
using testing_support::ReadFile;
using testing_support::Workshop;
using testing_support::WriteFile;
using Lines = std::vector<std::string>;

/// A session whose browser is a shell script, with everything that its handler hears.
class Session : public BrowserAuthorization::IEventHandler {
 public:
  explicit Session(const std::string& script) {
    path_ = Workshop::Instance().folder() + "/browser";
    WriteFile(path_, "#!/bin/sh\n" + script);
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
    session_.browser_path_ = path_;
  }

  int Run(const std::string& url = "https://shop.example/pay", const Lines& args = {}) {
    const auto begin = std::chrono::steady_clock::now();
    const int result = session_.Start(url, args);
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    EXPECT_FALSE(IsRunning());
    return result;
  }

  void UrlChanged(const std::string& url) override {
    EXPECT_TRUE(IsRunning());
    EXPECT_NE(std::this_thread::get_id(), creator_);
    events.push_back(url);
    if (url.find("RETURN") != std::string::npos) Stop();
  }
  void BrowserError() override { events.push_back("error"); }
  void BrowserClosed() override { events.push_back("closed"); }
  void TimePassed(int passed_s) override {
    times.push_back(passed_s);
    if (on_time) on_time();
  }

  void Stop() {
    const std::lock_guard lock(session_.mutex_);
    session_.running_ = false;
  }
  bool IsRunning() {
    const std::lock_guard lock(session_.mutex_);
    return session_.running_;
  }

  Lines events;
  std::vector<int> times;
  std::function<void()> on_time;
  double seconds = 0;
  BrowserAuthorization session_{"test", this};

 private:
  const std::thread::id creator_ = std::this_thread::get_id();
  std::string path_;
};

/// Whether the process whose number a script wrote down has ended, at most half a second later.
bool IsGone(const std::string& pid_file) {
  const std::string pid = std::to_string(std::stoi(ReadFile(pid_file)));
  for (int i = 0; i < 50; ++i) {
    const std::string state = ReadFile("/proc/" + pid + "/stat");
    if (state.empty() || state.find(" Z ") != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

TEST(BrowserAuthorization, AddressesAreReportedUntilTheUserClosesTheBrowser) {
  Session session(R"(
    printf '%s|' "$@" > "$(dirname "$0")/args"
    echo https://shop.example/pay; printf 'HTTP://a.example/?q=1\r\nhttp://last.example/\nhttp://cut')");
  EXPECT_EQ(session.Run("https://shop.example/pay?a=$HOME", {"--paypal", "a b"}), 0);
  EXPECT_EQ(session.events, (Lines{"https://shop.example/pay", "HTTP://a.example/?q=1",
                                   "http://last.example/", "closed"}));
  EXPECT_EQ(ReadFile(Workshop::Instance().folder() + "/args"),
            "--paypal|a b|https://shop.example/pay?a=$HOME|");
}

TEST(BrowserAuthorization, CrashAndExitCodeAreErrors) {
  for (const char* script : {"echo http://a.example/; kill -SEGV $$", "exit 3", "kill -KILL $$"}) {
    Session session(script);
    EXPECT_EQ(session.Run(), 0) << script;
    ASSERT_FALSE(session.events.empty());
    EXPECT_EQ(session.events.back(), "error") << script;
  }
}

TEST(BrowserAuthorization, NoProgramOrNoWebAddressStartsNothing) {
  for (const char* url : {"", "file:///etc/passwd", "javascript:1", "--help", "httpx://a/"}) {
    Session session("touch \"$(dirname \"$0\")/started\"");
    EXPECT_EQ(session.Run(url), -1) << url;
    EXPECT_TRUE(session.events.empty());
  }
  EXPECT_FALSE(std::filesystem::exists(Workshop::Instance().folder() + "/started"));

  Session session("");
  for (const std::string& path : {std::string("/no/such/browser"), Workshop::Instance().folder()}) {
    session.session_.browser_path_ = path;
    EXPECT_EQ(session.Run(), -1);
    EXPECT_NE(Workshop::Instance().Log().find("cannot run the browser " + path), std::string::npos);
  }
}

TEST(BrowserAuthorization, ReturnAddressEndsTheBrowserAndNothingMoreIsReported) {
  Session session(R"(echo http://a.example/RETURN; echo http://late.example/; exec sleep 60)");
  EXPECT_EQ(session.Run(), 0);
  EXPECT_EQ(session.events, Lines{"http://a.example/RETURN"});
  EXPECT_LT(session.seconds, 1.0);
}

TEST(BrowserAuthorization, BrowserThatIgnoresTheRequestToEndIsMadeToWithItsChildren) {
  Session session(R"(
    trap '' TERM
    sleep 60 & echo $! > "$(dirname "$0")/child"
    echo http://a.example/RETURN
    while :; do echo http://more.example/; sleep 0.01; done)");
  EXPECT_EQ(session.Run(), 0);
  EXPECT_EQ(session.events, Lines{"http://a.example/RETURN"});
  EXPECT_NEAR(session.seconds, 2.2, 0.7);
  EXPECT_TRUE(IsGone(Workshop::Instance().folder() + "/child"));
}

TEST(BrowserAuthorization, WhatTheBrowserLeavesBehindEndsWithIt) {
  Session session(R"(sleep 60 & echo $! > "$(dirname "$0")/child"; echo http://a.example/)");
  EXPECT_EQ(session.Run(), 0);
  EXPECT_EQ(session.events, (Lines{"http://a.example/", "closed"}));
  EXPECT_LT(session.seconds, 1.0) << "a child still holds the output";
  EXPECT_TRUE(IsGone(Workshop::Instance().folder() + "/child"));
}

TEST(BrowserAuthorization, AnotherThreadEndsASilentSessionWhoseTimePasses) {
  Session session("exec 1>&-; exec sleep 60");
  std::thread other;
  session.on_time = [&] {
    session.session_.SetFocus();
    if (session.times.size() == 2) other = std::thread([&] { session.Stop(); });
  };
  EXPECT_EQ(session.Run(), 0);
  other.join();
  EXPECT_EQ(session.times, (std::vector<int>{1, 2}));
  EXPECT_TRUE(session.events.empty());
  EXPECT_LT(session.seconds, 3.0);
}

TEST(BrowserAuthorization, RubbishAndFloodsAreBorne) {
  Session session(R"(
    head -c 300000 /dev/zero | tr '\0' x; echo
    printf 'http://long.example/'; head -c 300000 /dev/zero | tr '\0' y; echo
    head -c 200000 /dev/urandom; echo
    yes http://flood.example/ | head -n 20000
    echo; echo see http://a.example/RETURN; echo http://a.example/RETURN; exec sleep 60)");
  EXPECT_EQ(session.Run(), 0);
  ASSERT_EQ(session.events.size(), 20001u);
  EXPECT_EQ(session.events.front(), "http://flood.example/");
  EXPECT_EQ(session.events.back(), "http://a.example/RETURN");
}

/// Runs a session whose browser asks on the terminal, then asks there itself. What went well is in
/// the exit code.
int AskOnTerminal() {
  Session session("stty -echo; read answer; echo http://a.example/?$answer; [ $answer = yes ]");
  session.Run();
  termios modes{};
  tcgetattr(STDIN_FILENO, &modes);
  char line[8] = "";
  const auto got = read(STDIN_FILENO, line, sizeof line);
  const bool asked = session.events == Lines{"http://a.example/?yes", "closed"};
  const bool interrupted = session.events == Lines{"error"};
  return (asked ? 1 : 0) + (interrupted ? 2 : 0) + (modes.c_lflag & ECHO ? 4 : 0) +
         (std::string_view(line, static_cast<std::size_t>(got)) == "me\n" ? 8 : 0);
}

TEST(BrowserAuthorization, BrowserHasTheTerminalUntilItEndsHoweverItEnds) {
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

TEST(BrowserAuthorization, OneSessionAtATimeAndAnotherAfterwards) {
  Session session("echo http://a.example/; sleep 1.2");
  int inner = 0;
  session.on_time = [&] { inner = session.session_.Start("http://b.example/", {}); };
  EXPECT_EQ(session.Run(), 0);
  EXPECT_EQ(inner, -1);
  session.on_time = nullptr;
  EXPECT_EQ(session.Run(), 0);
  EXPECT_EQ(session.events, (Lines{"http://a.example/", "closed", "http://a.example/", "closed"}));
  session.session_.SetFocus();
}

}  // namespace
