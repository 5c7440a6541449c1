#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "support/files.h"
#include "support/process.h"

namespace fs = std::filesystem;

namespace tests {
namespace {

const Command kLauncher = {QUIRE_DEVICE, "--build", QUIRE_BUILD_DIR};
const Command kQuiet = kLauncher + Command{"--no-scanner"};

/// Whether a process with that word in its command line is there, after up to two seconds' grace.
bool StillRuns(const std::string& word) {
  for (int i = 0; i < 100; ++i) {
    bool found = false;
    for (const auto& entry : fs::directory_iterator("/proc")) {
      found = found || ReadFile(entry.path() / "cmdline").find(word) != std::string::npos;
    }
    if (!found) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

/// Both ways to run a program on the device must behave the same.
class Launcher : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const Command probe{"bwrap", "--unshare-pid", "--dev-bind", "/",
                        "/",     "--proc",        "/proc",      "true"};
    if (GetParam() != std::string("bwrap") || RunProgram(probe).exit_code == 0) return;
    const Finished refusal = RunProgram(On("true"));
    EXPECT_EQ(refusal.exit_code, 2) << "no namespaces here, so bwrap must be refused";
    EXPECT_EQ(refusal.err.find("quire-device: bwrap cannot run here: "), 0U) << refusal.err;
    GTEST_SKIP() << "bwrap cannot run here";
  }

  Command On(const std::string& program) const {
    return kQuiet + Command{"--device", device_ / "my device", "--with", GetParam(), "--", program};
  }
  Command OnBash(const std::string& script) const { return On("bash") + Command{"-c", script}; }

  const TemporaryFolder device_;
};

TEST_P(Launcher, MapsTheDevicesPathsAndNothingElse) {
  const TemporaryFolder elsewhere;  // under the host's /tmp
  WriteFile(elsewhere / "ca/ca.pem", "authority");
  WriteFile(elsewhere / "shared/file", "shared");
  fs::create_directory(elsewhere / "programs");
  fs::copy_file("/bin/bash", elsewhere / "programs/my shell");
  const bool had_storage = fs::exists("/mnt/ext1");
  const bool had_system = fs::exists("/ebrmain");

  const std::string script =
      "echo a > '/mnt/ext1/Downloads/ä b' && mkdir /mnt/ext1/system/new && mv "
      "/mnt/ext1/Downloads/* "
      "/mnt/ext1/system/new && echo c > /tmp/c && [[ -w /tmp/c ]] && ls -d '/mnt/ext1/Digital "
      "Editions' /mnt/ext1/system/config /ebrmain/bin && stat -c %F /mnt/ext1/system/new && pwd && "
      "cat \"$TABULET_CA_FILE\" \"$1\" && echo \"<$2>\"; exit 7";
  const Finished run =
      RunProgram(kQuiet + Command{"--device", device_ / "my device", "--with", GetParam(),
                                  "--share", elsewhere / "shared", elsewhere / "programs/my shell",
                                  "-c", script, "0", elsewhere / "shared/file", "two  words"},
                 {{"TABULET_CA_FILE", elsewhere / "ca/ca.pem"}});
  EXPECT_EQ(run.out,
            "/ebrmain/bin\n/mnt/ext1/Digital Editions\n/mnt/ext1/system/config\ndirectory\n" +
                fs::current_path().string() + "\nauthorityshared<two  words>\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.exit_code, 7);
  EXPECT_EQ(ReadFile(device_ / "my device/ext1/system/new/ä b"), "a\n");
  EXPECT_EQ(ReadFile(device_ / "my device/tmp/c"), "c\n");
  EXPECT_FALSE(fs::exists("/tmp/c"));
  EXPECT_EQ(fs::exists("/mnt/ext1"), had_storage) << "made on the host";
  EXPECT_EQ(fs::exists("/ebrmain"), had_system) << "made on the host";
}

TEST_P(Launcher, PassesSignalsOnAndGivesTheProgramsExitCode) {
  EXPECT_EQ(RunProgram(OnBash("kill -SEGV $$")).exit_code, 128 + SIGSEGV);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    Process program(
        OnBash("trap 'sleep 0.1; echo told; exit 5' TERM INT HUP; echo ready;"
               "while :; do sleep 0.02; done"));
    ASSERT_TRUE(program.WaitForOutput("ready"));
    program.Kill(signal);
    const Finished finished = program.Wait();
    EXPECT_EQ(finished.exit_code, 5) << signal;
    EXPECT_EQ(finished.out, "ready\ntold\n") << signal;
  }
  Process early(On("sleep") + Command{"31"});
  early.Kill(SIGTERM);
  EXPECT_NE(early.Wait().exit_code, 0);
}

TEST_P(Launcher, LeavesTheTerminalToTheProgram) {
  Process program(OnBash("trap 'echo interrupted; told=yes' INT;"
                         "stty -echo </dev/tty; read -r -p 'Password: ' word </dev/tty;"
                         "stty echo </dev/tty; echo; echo \"got $word\";"
                         "until [[ $told ]]; do sleep 0.02; done; sleep 0.2; echo end"),
                  {}, Process::On::kTerminal);
  ASSERT_TRUE(program.WaitForOutput("Password: "));
  program.Type("geheim\n");
  ASSERT_TRUE(program.WaitForOutput("got geheim"));
  program.Type("\x03");
  const Finished finished = program.Wait();
  const std::string shown = finished.out;
  EXPECT_EQ(shown.find("geheim"), shown.rfind("geheim")) << "echoed: " << shown;
  EXPECT_NE(shown.find("interrupted"), std::string::npos) << shown;
  EXPECT_EQ(shown.find("interrupted"), shown.rfind("interrupted")) << "told twice: " << shown;
  EXPECT_NE(shown.find("end"), std::string::npos) << shown;
  EXPECT_EQ(finished.exit_code, 0);
}

TEST_P(Launcher, LeavesNoProcessBehind) {
  EXPECT_EQ(RunProgram(OnBash("(sleep 3141592 >/dev/null 2>&1 &); exit 3")).exit_code, 3);
  EXPECT_FALSE(StillRuns("3141592"));

  Process killed(OnBash("echo ready; exec sleep 2718281"));
  ASSERT_TRUE(killed.WaitForOutput("ready"));
  killed.Kill(SIGKILL);
  EXPECT_FALSE(StillRuns("2718281"));
}

TEST_P(Launcher, RemovesAScratchDevice) {
  const Finished run = RunProgram(
      kQuiet + Command{"--device", "scratch", "--with", GetParam(), "bash", "-c",
                       "mkdir /mnt/ext1/a; touch /mnt/ext1/a/b; chmod 500 /mnt/ext1/a; exit 4"},
      {{"TMPDIR", device_.path()}});
  EXPECT_EQ(run.exit_code, 4);
  EXPECT_TRUE(fs::is_empty(device_.path()));
}

TEST_P(Launcher, RunsTheScannerBesideTheProgram) {
  const std::string device = device_ / "my device";
  WriteFile(device + "/ext1/Downloads/book.pdf", "a book");
  const Command on = kLauncher + Command{"--device", device, "--with", GetParam()};
  const Finished run = RunProgram(
      on + Command{"bash", "-c", "\"$0\" /mnt/ext1/Downloads; \"$0\" /etc; \"$0\" /mnt/ext1/no",
                   QUIRE_SCAN_REQUEST});
  EXPECT_EQ(run.out, "answer 0\nanswer -1\nanswer -1\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(ReadFile(device + "/tmp/scanner.log"),
            "scanned /mnt/ext1/Downloads: 1 books, 1 new, 0 gone\n"
            "scanner: asked to scan /etc, which is not on /mnt/ext1\n"
            "scanner: cannot read /mnt/ext1/no: No such file or directory\n");
  EXPECT_FALSE(StillRuns(device)) << "of proot, or of the scanner";

  // A scanner that does not come up, and none at all, cost a line and no more.
  const std::string scanner = device + "/ebrmain/bin/scanner.app";
  fs::remove(scanner);
  WriteProgram(scanner, "#!/bin/sh\nexit 1\n");
  for (const char* line : {"the scanner does not serve", "no scanner.app"}) {
    const Finished without = RunProgram(on + Command{"bash", "-c", "exit 6"});
    EXPECT_EQ(without.exit_code, 6);
    EXPECT_NE(without.err.find(line), std::string::npos) << without.err;
    chmod(scanner.c_str(), 0644);
  }
}

/// Installed elsewhere, and run by somebody who is not root.
TEST_P(Launcher, WorksForAnOrdinaryUserWhereItIsInstalled) {
  const std::string prefix = device_ / "prefix";
  fs::create_directories(prefix + "/bin");
  fs::create_directories(prefix + "/libexec/quire");
  fs::copy_file(QUIRE_DEVICE, prefix + "/bin/quire-device");
  fs::copy_file(QUIRE_BUILD_DIR "/bin/proot-guest", prefix + "/libexec/quire/proot-guest");
  WriteProgram(prefix + "/libexec/quire/browser-agent", "#!/bin/sh\necho agent\n");
  chmod(device_.path().c_str(), 0777);
  Command command{prefix + "/bin/quire-device", "--no-scanner", "--device", device_ / "d"};
  command = command + Command{"--with", GetParam(), "sh", "-c"} +
            Command{"cd /; ls /mnt/ext1 && /ebrmain/bin/browser.app && id -u"};
  if (geteuid() == 0) {
    const Command nobody{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    command = Command{"env", "-C", "/"} + nobody + command;
  }
  const Finished run = RunProgram(command, {{"QUIRE_BUILD", ""}});
  const std::string user = std::to_string(geteuid() == 0 ? 65534 : geteuid());
  EXPECT_EQ(run.out, "Digital Editions\nDownloads\nsystem\nagent\n" + user + "\n");
  EXPECT_EQ(run.err, "");
}

INSTANTIATE_TEST_SUITE_P(With, Launcher, testing::Values("bwrap", "proot"),
                         [](const auto& with) { return std::string(with.param); });

TEST(LauncherFallback, TakesProotWhereNamespacesAreForbidden) {
  const TemporaryFolder folder;
  const std::string forbidden = "#!/bin/sh\necho no permission >&2; exit 1\n";
  const Environment path = {{"PATH", folder / "bin:" + std::getenv("PATH")}};
  const Command command =
      kQuiet + Command{"--device", folder / "d", "bash", "-c", "[[ -d /mnt/ext1/Downloads ]]"};
  WriteProgram(folder / "bin/bwrap", forbidden);
  const Finished fallback = RunProgram(command, path);
  EXPECT_EQ(fallback.exit_code, 0);
  EXPECT_EQ(fallback.err, "");
  WriteProgram(folder / "bin/proot", forbidden);
  const Finished refusal = RunProgram(command, path);
  EXPECT_EQ(refusal.exit_code, 2);
  EXPECT_EQ(
      refusal.err,
      "quire-device: neither bwrap nor proot can run here; install bubblewrap, and allow user "
      "namespaces or ptrace\n");
}

TEST(LauncherRefusals, SayWhatIsWrongInOneLine) {
  const TemporaryFolder folder;
  const std::string device = folder / "d";
  WriteFile(folder / "file", "not a program");
  WriteFile(folder / "d/ebrmain/bin/browser.app", "the user's own");
  const std::tuple<Command, int, std::string> cases[] = {
      {{}, 2, "no program"},
      {{"--nope", "true"}, 2, "unknown option --nope"},
      {{"--device"}, 2, "--device needs a value"},
      {{"--with", "magic", "true"}, 2, "--with magic"},
      {{"--browser", "lynx", "true"}, 2, "--browser lynx"},
      {{"--build", folder / "none", "true"}, 2, "no build at " + folder / "none"},
      {{"--device", folder / "file", "true"}, 2, folder / "file: Not a directory"},
      {{"--device", device, "--share", "/no/such", "true"}, 2, "--share /no/such"},
      {{"--device", device, "--browser", "agent", "true"}, 2, "browser.app is a file of yours"},
      {{"--device", device, "no-such-program"}, 127, "no program no-such-program"},
      {{"--device", device, "./no such"}, 127, "no program ./no such"},
      {{"--device", device, folder / "file"}, 126, "not executable"},
  };
  for (const auto& [arguments, exit_code, text] : cases) {
    const Finished run = RunProgram(kQuiet + arguments);
    EXPECT_EQ(run.exit_code, exit_code) << text;
    EXPECT_EQ(run.err.find("quire-device: "), 0U) << run.err;
    EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
  EXPECT_EQ(ReadFile(folder / "d/ebrmain/bin/browser.app"), "the user's own");
}

}  // namespace
}  // namespace tests
