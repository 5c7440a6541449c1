#include "support/browser_session.h"

namespace {

using Lines = BrowserSession::Lines;

/// Starts a process that appends to the file "child" as long as it lives.
const std::string kChild = "while :; do echo x >>child; sleep 0.05; done & ";

/// Whether no process appends to the file "child" any longer.
bool IsChildGone(const BrowserSession& session) {
  const std::string file = session.directory / "child";
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const std::string before = ReadAll(file);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  return before != "" && ReadAll(file) == before;
}

TEST(BrowserAuthorization, ReportsUrlsUntilBrowserCloses) {
  BrowserSession session(R"(
    printf '%s|' "$@" >args
    echo https://shop.example/pay; printf 'HTTP://a.example/?q=1\r\nhttp://last.example/\nhttp://cut')");
  EXPECT_EQ(session.Run("https://shop.example/pay?a=$HOME", {"--paypal", "a b"}), 0);
  EXPECT_EQ(session.events, (Lines{"https://shop.example/pay", "HTTP://a.example/?q=1",
                                   "http://last.example/", "closed"}));
  EXPECT_EQ(ReadAll(session.directory / "args"), "--paypal|a b|https://shop.example/pay?a=$HOME|");
}

TEST(BrowserAuthorization, ReportsErrorAfterCrashOrExitCode) {
  for (const char* end : {"kill -SEGV $$", "exit 3", "kill -KILL $$"}) {
    BrowserSession session(std::string("echo http://a.example/; ") + end);
    EXPECT_EQ(session.Run(), 0) << end;
    EXPECT_EQ(session.events, (Lines{"http://a.example/", "error"})) << end;
  }
}

TEST(BrowserAuthorization, StartsNothingWithoutProgramOrHttpUrl) {
  BrowserSession session("touch started");
  for (const char* url : {"", "file:///etc/passwd", "javascript:1", "--help", "httpx://a/"}) {
    EXPECT_EQ(session.Run(url), -1) << url;
  }
  for (const std::string& path : {std::string("/no/such/browser"), session.directory.path()}) {
    session.browser.browser_path_ = path;
    EXPECT_EQ(session.Run(), -1);
  }
  EXPECT_TRUE(session.events.empty());
  EXPECT_EQ(session.directory.Names(), std::set<std::string>{"browser"});
}

TEST(BrowserAuthorization, KillsProcessTreeAtEveryEnd) {
  const struct {
    std::string script;
    Lines events;
    double max_s;
  } cases[] = {
      {kChild + "sleep 0.2; echo http://a.example/RETURN; echo http://late.example/; sleep 60",
       {"http://a.example/RETURN"},
       1.2},
      {kChild + "sleep 0.2; echo http://a.example/", {"http://a.example/", "closed"}, 1.2},
      {"trap '' TERM; " + kChild + "echo http://a.example/RETURN; while :; do echo http://b/; done",
       {"http://a.example/RETURN"},
       3},
  };
  for (const auto& [script, events, max_s] : cases) {
    BrowserSession session(script);
    EXPECT_EQ(session.Run(), 0);
    EXPECT_EQ(session.events, events);
    EXPECT_LT(session.seconds, max_s) << script;
    EXPECT_TRUE(IsChildGone(session)) << script;
  }
}

TEST(BrowserAuthorization, ReportsTimeUntilAnotherThreadEndsSession) {
  BrowserSession session("exec 1>&-; exec sleep 60");
  std::thread other;
  session.on_time = [&] {
    session.browser.SetFocus();
    if (session.times.size() == 2) other = std::thread([&] { session.Stop(); });
  };
  EXPECT_EQ(session.Run(), 0);
  other.join();
  EXPECT_EQ(session.times, (std::vector<int>{1, 2}));
  EXPECT_TRUE(session.events.empty());
  EXPECT_LT(session.seconds, 3.0);
}

TEST(BrowserAuthorization, FindsUrlsAmongGarbageAndFloods) {
  BrowserSession session(R"(
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

TEST(BrowserAuthorization, RefusesSecondSessionUntilFirstEnds) {
  BrowserSession session("echo http://a.example/; sleep 1.2");
  int inner = 0;
  session.on_time = [&] { inner = session.browser.Start("http://b.example/", {}); };
  EXPECT_EQ(session.Run(), 0);
  EXPECT_EQ(inner, -1);
  session.on_time = nullptr;
  EXPECT_EQ(session.Run(), 0);
  EXPECT_EQ(session.events, (Lines{"http://a.example/", "closed", "http://a.example/", "closed"}));
  session.browser.SetFocus();
}

}  // namespace
