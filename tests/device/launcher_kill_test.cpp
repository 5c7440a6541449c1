// launcher_kill_test bwrap|proot KILLS: kills the launcher so many times at random moments of its
// start.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <thread>

#include "support/files.h"
#include "support/process.h"

namespace fs = std::filesystem;

namespace tests {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::seconds;

std::string sandbox;  // NOLINT: set once, from the command line
int kills = 0;        // NOLINT

/// How many processes have that variable in their environment.
int CountMarked(const std::string& mark) {
  int count = 0;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    if (ReadFile(entry.path() / "environ").find(mark) != std::string::npos) ++count;
  }
  return count;
}

int CountMarkedAfterGrace(const std::string& mark) {
  const auto deadline = Clock::now() + seconds(3);
  int count = CountMarked(mark);
  while (count > 0 && Clock::now() < deadline) {
    std::this_thread::sleep_for(microseconds(500));
    count = CountMarked(mark);
  }
  return count;
}

TEST(LauncherKill, LeavesNoProcessAndNoFileOutside) {
  const TemporaryDirectory directory;
  const std::string word = "quire-kill-" + std::to_string(getpid());
  std::map<std::string, bool> outside;
  for (const std::string path :
       {"/mnt/ext1", "/ebrmain", "/tmp/tabulet-tasks", "/tmp/scanner.log"}) {
    outside[path] = Exists(path);
  }
  outside["/tmp/" + word] = outside["/mnt/ext1/" + word] = false;
  // What the program leaves in a session of its own writes until it is killed.
  const std::string script =
      "setsid bash -c 'while :; do echo >>/tmp/$0; echo >>/mnt/ext1/$0; sleep 0.002; done' " +
      word + " >/dev/null 2>&1 & echo ready; exec sleep 60";
  const Command command{QUIRE_DEVICE, "--build",       QUIRE_BUILD_DIR, "--with", sandbox,
                        "--device",   directory / "d", "bash",          "-c",     script};
  const Environment marked = {{"QUIRE_KILL_TEST", word}};

  const auto start = Clock::now();
  Process first(command, marked);
  ASSERT_TRUE(first.WaitForOutput("ready"));
  const auto duration = std::chrono::duration_cast<microseconds>(Clock::now() - start);
  ASSERT_GE(CountMarked(word), 4) << "launcher, sandbox, program and what the program left";
  first.Kill(SIGKILL);
  first.Wait();
  std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<long> moment_us(0, duration.count() * 3 / 2);
  int began = 0;
  int survivors = CountMarkedAfterGrace(word);
  for (int i = 0; i < kills && survivors == 0; ++i) {
    Process launcher(command, marked);
    std::this_thread::sleep_for(microseconds(moment_us(random)));
    launcher.Kill(SIGKILL);
    if (!launcher.Wait().out.empty()) ++began;
    survivors += CountMarkedAfterGrace(word);
  }
  EXPECT_EQ(survivors, 0);
  for (const auto& [path, existed] : outside) EXPECT_EQ(Exists(path), existed) << path;
  std::cout << kills << " kills within " << duration.count() * 3 / 2000 << " ms, " << began
            << " of them after the program began: " << survivors << " processes left\n";
}

}  // namespace
}  // namespace tests

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc != 3) return 2;
  tests::sandbox = argv[1];
  tests::kills = std::stoi(argv[2]);
  return RUN_ALL_TESTS();
}
