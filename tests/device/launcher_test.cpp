#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <random>
#include <set>
#include <thread>

#include "support/files.h"
#include "support/process.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace tests {
namespace {

const Command kLauncher = {QUIRE_DEVICE, "--build", QUIRE_BUILD_DIR};
const Command kWithoutScanner = kLauncher + Command{"--no-scanner"};

/// How many processes have that word in their command line or their environment.
int CountProcesses(const std::string& word) {
  int count = 0;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string words =
        ReadFile(entry.path() / "cmdline") + ReadFile(entry.path() / "environ");
    if (words.find(word) != std::string::npos) ++count;
  }
  return count;
}

bool StillRuns(const std::string& word) {
  return !WaitUntil([&] { return CountProcesses(word) == 0; }, 3);
}

/// Both ways to run a program on the device must behave the same.
class Launcher : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const Command probe{"bwrap", "--unshare-pid", "--dev-bind", "/",
                        "/",     "--proc",        "/proc",      "true"};
    if (GetParam() != std::string("bwrap") || RunProgram(probe).exit_code == 0) return;
    const ProcessResult refusal = RunProgram(CommandOnDevice("true"));
    EXPECT_EQ(refusal.exit_code, 2) << "no namespaces here, so bwrap must be refused";
    EXPECT_EQ(refusal.err.find("quire-device: bwrap cannot run here: "), 0U) << refusal.err;
    GTEST_SKIP() << "bwrap cannot run here";
  }

  Command CommandOnDevice(const std::string& program) const {
    return kLaunch + Command{"--no-scanner", "--", program};
  }
  Command BashOnDevice(const std::string& script) const {
    return CommandOnDevice("bash") + Command{"-c", script};
  }

  /// Bash: waits until the program is the only child of the device's init.
  const std::string kWaitForScannerExit =
      "until [[ $(</proc/$PPID/task/$PPID/children) == \"$$ \" ]]; do :; done";
  const TemporaryDirectory device_;
  const std::string kDevice = device_ / "data/my device";
  const Command kLaunch = kLauncher + Command{"--device", kDevice, "--with", GetParam()};
};

TEST_P(Launcher, MapsDevicePathsOnly) {
  const TemporaryDirectory elsewhere;  // under the host's /tmp
  WriteFile(elsewhere / "ca/ca.pem", "authority");
  WriteFile(elsewhere / "shared/file", "shared");
  fs::create_directory(elsewhere / "programs");
  fs::copy_file("/bin/bash", elsewhere / "programs/my=shell");
  const bool had_storage = fs::exists("/mnt/ext1");
  const bool had_system = fs::exists("/ebrmain");

  const std::string script =
      "echo a > '/mnt/ext1/Downloads/ä b' && mkdir /mnt/ext1/system/new && mv "
      "/mnt/ext1/Downloads/* "
      "/mnt/ext1/system/new && echo c > /tmp/c && [[ -w /tmp/c ]] && ls -d '/mnt/ext1/Digital "
      "Editions' /mnt/ext1/system/config /ebrmain/bin && stat -c %F /mnt/ext1/system/new && pwd && "
      "cat \"$TABULET_CA_FILE\" \"$1\" && echo \"<$2>\"; exit 7";
  const ProcessResult run =
      RunProgram(kLaunch + Command{"--no-scanner", "--share", elsewhere / "shared",
                                   elsewhere / "programs/my=shell", "-c", script, "0",
                                   elsewhere / "shared/file", "two  words"},
                 {{"TABULET_CA_FILE", elsewhere / "ca/ca.pem"}});
  EXPECT_EQ(run.out,
            "/ebrmain/bin\n/mnt/ext1/Digital Editions\n/mnt/ext1/system/config\ndirectory\n" +
                fs::current_path().string() + "\nauthorityshared<two  words>\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.exit_code, 7);
  EXPECT_EQ(ReadFile(kDevice + "/ext1/system/new/ä b"), "a\n");
  EXPECT_EQ(ReadFile(kDevice + "/tmp/c"), "c\n");
  EXPECT_FALSE(fs::exists("/tmp/c"));
  EXPECT_EQ(fs::exists("/mnt/ext1"), had_storage) << "created on the host";
  EXPECT_EQ(fs::exists("/ebrmain"), had_system) << "created on the host";
}

// The programs that get signals start no others while they wait: bash forgets a SIGINT that comes
// then.
TEST_P(Launcher, ForwardsSignalsAndReturnsExitCode) {
  EXPECT_EQ(RunProgram(BashOnDevice("kill -SEGV $$")).exit_code, 128 + SIGSEGV);
  const Command program_with_trap = BashOnDevice(
      "trap 'sleep 0.1; echo told; exit 5' TERM INT HUP QUIT USR1 USR2; echo ready;"
      "while :; do :; done");
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2}) {
    Process program(program_with_trap);
    ASSERT_TRUE(program.WaitForOutput("ready"));
    program.Kill(signal);
    const ProcessResult finished = program.Wait();
    EXPECT_EQ(finished.exit_code, 5) << signal;
    EXPECT_EQ(finished.out, "ready\ntold\n") << signal;
  }
  Process on_terminal(program_with_trap, {}, Process::On::kTerminal);
  ASSERT_TRUE(on_terminal.WaitForOutput("ready"));
  on_terminal.Kill(SIGINT);
  EXPECT_EQ(on_terminal.Wait().exit_code, 5) << "not from the terminal, so it must be forwarded";
  Process early(CommandOnDevice("sleep") + Command{"31"});
  early.Kill(SIGTERM);
  EXPECT_NE(early.Wait().exit_code, 0);
}

TEST_P(Launcher, LeavesTerminalToProgram) {
  Process program(
      kLaunch + Command{"bash", "-c",
                        "trap 'echo interrupted; told=yes' INT;"
                        "stty -echo </dev/tty; read -r -p 'Password: ' word </dev/tty;"
                        "stty echo </dev/tty; echo; \"$0\" /mnt/ext1; echo \"got $word\";"
                        "until [[ $told ]]; do :; done; sleep 0.2; \"$0\" /mnt/ext1",
                        QUIRE_SCAN_REQUEST},
      {}, Process::On::kTerminal);
  ASSERT_TRUE(program.WaitForOutput("Password: "));
  program.Type("geheim\n");
  ASSERT_TRUE(program.WaitForOutput("got geheim"));
  program.Type("\x03");
  const ProcessResult finished = program.Wait();
  const std::string shown = finished.out;
  EXPECT_EQ(shown.find("geheim"), shown.rfind("geheim")) << "echoed: " << shown;
  EXPECT_NE(shown.find("interrupted"), std::string::npos) << shown;
  EXPECT_EQ(shown.find("interrupted"), shown.rfind("interrupted")) << "forwarded, too: " << shown;
  EXPECT_TRUE(shown.ends_with("answer 0\r\n")) << "the scanner must ignore Ctrl-C: " << shown;
  EXPECT_EQ(finished.exit_code, 0);
}

TEST_P(Launcher, ExitsWhenTerminalCloses) {
  std::string script = "#!/bin/sh\nexec";
  for (const std::string& word : BashOnDevice("")) script += " '" + word + "'";
  WriteProgram(device_ / "session leader", script + "'>/mnt/ext1/started; exec sleep 1732050'\n");
  Process terminal({"script", "-qc", "'" + (device_ / "session leader") + "'", "/dev/null"});
  ASSERT_TRUE(WaitUntil([&] { return Exists(kDevice + "/ext1/started"); }));
  terminal.Kill(SIGKILL);
  EXPECT_FALSE(StillRuns("1732050"));
}

TEST_P(Launcher, LeavesNoProcess) {
  EXPECT_EQ(RunProgram(BashOnDevice("(sleep 3141592 >/dev/null 2>&1 &); exit 3")).exit_code, 3);
  EXPECT_FALSE(StillRuns("3141592"));

  RunProgram(BashOnDevice("setsid sleep 1618033 >/dev/null 2>&1 & kill -KILL $PPID; exit 3"));
  EXPECT_FALSE(StillRuns("1618033"));
}

/// QUIRE_LAUNCHER_KILLS kills, half of them during the start and half while the program writes.
TEST_P(Launcher, LeavesNothingWhenKilledAtAnyMoment) {
  const char* const setting = std::getenv("QUIRE_LAUNCHER_KILLS");
  const int kills = setting ? std::stoi(setting) : 60;
  const std::string word = "quire-kill-" + std::to_string(getpid());
  const std::string paths[] = {"/mnt/ext1",        "/ebrmain",     "/tmp/tabulet-tasks",
                               "/tmp/scanner.log", "/tmp/" + word, "/mnt/ext1/" + word};
  std::set<std::string> before;
  for (const std::string& path : paths) {
    if (Exists(path)) before.insert(path);
  }
  const std::string script =
      "setsid bash -c 'while :; do echo >>/tmp/$0; echo >>/mnt/ext1/$0; sleep 0.002; done' $0 &"
      "echo ready; while :; do echo >>/tmp/$0; echo >>/mnt/ext1/$0; done";
  const Command command = kLaunch + Command{"bash", "-c", script, word};
  const Environment marked = {{"QUIRE_KILL_TEST", word}};

  const auto start = Clock::now();
  Process first(command, marked);
  ASSERT_TRUE(first.WaitForOutput("ready"));
  const std::chrono::duration<double> duration = Clock::now() - start;
  ASSERT_GE(CountProcesses(word), 4) << "launcher, sandbox, program and its child";
  first.Kill(SIGKILL);
  std::mt19937 random(std::random_device{}());
  std::uniform_real_distribution<> fraction(0, 1);
  int started = 0;
  for (int i = 0; i < kills; ++i) {
    Process launcher(command, marked);
    if (i % 2 == 0 && !launcher.WaitForOutput("ready")) FAIL() << "kill " << i;
    std::this_thread::sleep_for(duration * fraction(random));
    launcher.Kill(SIGKILL);
    if (!launcher.Wait().out.empty()) ++started;
    ASSERT_FALSE(StillRuns(word)) << "after kill " << i;
  }
  for (const std::string& path : paths) EXPECT_EQ(Exists(path), before.contains(path)) << path;
  EXPECT_TRUE(Exists(kDevice + "/tmp/" + word));
  EXPECT_TRUE(Exists(kDevice + "/ext1/" + word));
  std::cout << kills << " kills within " << duration.count() * 1000 << " ms of the start, of "
            << started << " running programs: no process is left\n";
}

TEST_P(Launcher, RemovesScratchDevice) {
  const ProcessResult run = RunProgram(
      kWithoutScanner +
          Command{"--device", "scratch", "--with", GetParam(), "bash", "-c",
                  "mkdir /mnt/ext1/a; touch /mnt/ext1/a/b; chmod 500 /mnt/ext1/a; exit 4"},
      {{"TMPDIR", device_.path()}});
  EXPECT_EQ(run.exit_code, 4);
  EXPECT_TRUE(fs::is_empty(device_.path()));
}

TEST_P(Launcher, StartsSeveralTimesAtOnceOnNewDevice) {
  std::vector<std::unique_ptr<Process>> launchers;
  for (int i = 0; i < 12; ++i) {
    launchers.push_back(std::make_unique<Process>(
        kLaunch + Command{"--no-scanner", "--browser", i % 2 ? "agent" : "chromium", "true"},
        Environment{{"QUIRE_BROWSER_HEADLESS", "1"}}));
  }
  for (const auto& launcher : launchers) {
    const ProcessResult finished = launcher->Wait();
    EXPECT_EQ(finished.exit_code, 0);
    EXPECT_EQ(finished.err, "");
  }
  for (const auto& entry : fs::recursive_directory_iterator(device_.path())) {
    if (!entry.is_directory() || entry.is_symlink()) continue;
    EXPECT_EQ(entry.status().permissions(), fs::perms::owner_all) << entry.path();
  }
}

TEST_P(Launcher, LimitsFileNameLength) {
  const int max_bytes = GetParam() == std::string("proot") ? 254 : 255;
  for (const int excess : {0, 1}) {
    const ProcessResult run = RunProgram(BashOnDevice(
        "printf -v name %0" + std::to_string(max_bytes + excess) + "d; echo >/mnt/ext1/$name"));
    EXPECT_EQ(run.exit_code, excess);
    EXPECT_EQ(run.err.find("File name too long") != std::string::npos, excess == 1) << run.err;
  }
}

TEST_P(Launcher, RunsScannerWithProgram) {
  WriteFile(kDevice + "/ext1/Downloads/book.pdf", "a book");
  // The scanner of the first launcher serves the second one, too.
  Process first(kLaunch + Command{"bash", "-c", "\"$0\" /mnt/ext1/Downloads; exec sleep 60",
                                  QUIRE_SCAN_REQUEST});
  ASSERT_TRUE(first.WaitForOutput("answer 0\n"));
  const ProcessResult second = RunProgram(
      kLaunch + Command{"bash", "-c", "\"$0\" /etc; \"$0\" /mnt/ext1/no;" + kWaitForScannerExit,
                        QUIRE_SCAN_REQUEST});
  EXPECT_EQ(second.out, "answer -1\nanswer -1\n");
  EXPECT_EQ(second.err, "");
  first.Kill(SIGTERM);
  EXPECT_EQ(first.Wait().err, "");
  const std::string log = ReadFile(kDevice + "/tmp/scanner.log");
  for (const char* line : {"scanner: asked to scan /etc, which is not on /mnt/ext1\n",
                           "scanner: cannot read /mnt/ext1/no: No such file or directory\n"}) {
    EXPECT_NE(log.find(line), std::string::npos) << log;
  }
  EXPECT_EQ(fs::status(kDevice + "/tmp/scanner.log").permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_FALSE(StillRuns(kDevice)) << "proot or the scanner";
}

TEST_P(Launcher, RunsProgramWithoutWorkingScanner) {
  const std::string scanner = kDevice + "/ebrmain/bin/scanner.app";
  const std::string script = "until [[ -s /tmp/scanner.log ]]; do :; done;[[ $0 ]] || " +
                             kWaitForScannerExit + "; >/tmp/scanner.log; exit 6";
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"exit 1", "", "the scanner has failed"},
      {"exec sleep 1414213", "at once", ""},
  };
  for (const auto& [body, when, message] : cases) {
    WriteProgram(scanner, std::string("#!/bin/sh\necho started\n") + body + "\n");
    const ProcessResult run = RunProgram(kLaunch + Command{"bash", "-c", script, when});
    EXPECT_EQ(run.exit_code, 6);
    EXPECT_EQ(run.err.empty(), !*message) << run.err;
    EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
  }
  EXPECT_FALSE(StillRuns("1414213"));
  chmod(scanner.c_str(), 0644);
  const ProcessResult run = RunProgram(kLaunch + Command{"true"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_NE(run.err.find("there is no scanner.app"), std::string::npos) << run.err;
}

/// Installed elsewhere, and run by somebody who is not root.
TEST_P(Launcher, RunsInstalledForOrdinaryUser) {
  const std::string prefix = device_ / "prefix";
  fs::create_directories(prefix + "/bin");
  fs::create_directories(prefix + "/libexec/quire");
  fs::copy_file(QUIRE_DEVICE, prefix + "/bin/quire-device");
  WriteProgram(prefix + "/libexec/quire/browser-agent", "#!/bin/sh\necho agent\n");
  WriteProgram(prefix + "/bin/quire", "#!/bin/sh\necho \"quire $1\"\n");
  chmod(device_.path().c_str(), 0777);
  Command launcher{prefix + "/bin/quire-device", "--no-scanner", "--device", device_ / "d",
                   "--with"};
  launcher.emplace_back(GetParam());
  if (geteuid() == 0) {
    const Command nobody{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    launcher = Command{"env", "-C", "/"} + nobody + launcher;
  }
  const ProcessResult run = RunProgram(
      launcher + Command{"sh", "-c", "cd /; ls /mnt/ext1 && /ebrmain/bin/browser.app && id -u"},
      {{"QUIRE_BUILD", ""}});
  const std::string user = std::to_string(geteuid() == 0 ? 65534 : geteuid());
  EXPECT_EQ(run.out, "Digital Editions\nDownloads\nsystem\nagent\n" + user + "\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(RunProgram(launcher + Command{"--", "quire", "books"}, {{"QUIRE_BUILD", ""}}).out,
            "quire books\n");
}

INSTANTIATE_TEST_SUITE_P(With, Launcher, testing::Values("bwrap", "proot"),
                         [](const auto& with) { return std::string(with.param); });

TEST(LauncherFallback, UsesProotWhenNamespacesAreForbidden) {
  const TemporaryDirectory directory;
  const std::string forbidden = "#!/bin/sh\necho no permission >&2; exit 1\n";
  const Environment path = {{"PATH", directory / "bin:" + std::getenv("PATH")}};
  const Command command = kWithoutScanner + Command{"--device", directory / "d", "bash", "-c",
                                                    "[[ -d /mnt/ext1/Downloads ]]"};
  WriteProgram(directory / "bin/bwrap", forbidden);
  const ProcessResult fallback = RunProgram(command, path);
  EXPECT_EQ(fallback.exit_code, 0);
  EXPECT_EQ(fallback.err, "");
  WriteProgram(directory / "bin/proot", forbidden);
  const ProcessResult refusal = RunProgram(command, path);
  EXPECT_EQ(refusal.exit_code, 2);
  EXPECT_EQ(
      refusal.err,
      "quire-device: neither bwrap nor proot can run here; install bubblewrap, and allow user "
      "namespaces or ptrace\n");
}

TEST(LauncherErrors, FitOneLine) {
  const TemporaryDirectory directory;
  const std::string device = directory / "d";
  WriteFile(directory / "file", "not a program");
  WriteFile(directory / "d/ebrmain/bin/browser.app", "the user's own");
  const Environment no_display = {
      {"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}, {"QUIRE_BROWSER_HEADLESS", ""}};
  const std::tuple<Command, int, std::string> cases[] = {
      {{}, 2, "no program"},
      {{"--device", device, "--", ""}, 127, "no program \"\""},
      {{"--nope", "true"}, 2, "unknown option --nope"},
      {{"--device"}, 2, "--device needs a value"},
      {{"--with", "magic", "true"}, 2, "--with magic"},
      {{"--browser", "lynx", "true"}, 2, "--browser lynx"},
      {{"--build", directory / "none", "true"}, 2, "no build at " + directory / "none"},
      {{"--device", directory / "file", "true"}, 2, directory / "file: Not a directory"},
      {{"--device", device, "--share", "/no/such", "true"}, 2, "--share /no/such"},
      {{"--device", device, "--browser", "agent", "true"}, 2, "browser.app is a file of yours"},
      {{"--device", device, "--browser", "chromium", "true"}, 2, "chromium needs a display"},
      {{"--device", device, "no-such-program"}, 127, "no program \"no-such-program\""},
      {{"--device", device, "./no such"}, 127, "no program \"./no such\""},
      {{"--device", device, directory / "file"}, 126, "not executable"},
  };
  for (const auto& [arguments, exit_code, text] : cases) {
    const ProcessResult run = RunProgram(kWithoutScanner + arguments, no_display);
    EXPECT_EQ(run.exit_code, exit_code) << text;
    EXPECT_EQ(run.err.find("quire-device: "), 0U) << run.err;
    EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
  EXPECT_EQ(ReadFile(directory / "d/ebrmain/bin/browser.app"), "the user's own");
  const ProcessResult headless = RunProgram(
      kWithoutScanner + Command{"--device", directory / "d2", "--browser", "chromium", "true"},
      no_display + Environment{{"QUIRE_BROWSER_HEADLESS", "1"}});
  EXPECT_EQ(headless.exit_code, 0) << headless.err;
}

}  // namespace
}  // namespace tests
