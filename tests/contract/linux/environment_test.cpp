// The effect of the environment on libtabulet.so, and its output to the terminal and the log. A
// process reads its environment once, so these tests use the library only in child processes.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <sstream>
#include <thread>

#include "support/suite.h"

namespace {

using Variables = std::vector<std::string>;
using Call = std::function<void()>;

const std::string kPlace = " src/probe.cpp:12 int f(char): ";
const std::string kEnglish = "[error] The book could not be downloaded.\n";
const std::string kGerman = "[error] Das Buch konnte nicht heruntergeladen werden.\n";

class LinuxEnvironment : public testing::Test {
 protected:
  /// Runs `call` in a process with only these variables, NAME=VALUE, and PATH.
  /// \return what it writes to standard error.
  std::string Run(const Variables& variables, const Call& call) const {
    const std::string output = directory_ / "stderr";
    ForkedProcess child([&] {
      const std::string path = directory_.path() + ":" + std::getenv("PATH");
      clearenv();
      setenv("PATH", path.c_str(), 1);
      for (const std::string& variable : variables) putenv(const_cast<char*>(variable.c_str()));
      dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600), STDERR_FILENO);
      call();
      return 0;
    });
    EXPECT_EQ(child.Wait(), 0);
    return ReadAll(output);
  }

  const TemporaryDirectory directory_;
};

Call Log(int level, const std::string& text) {
  return [=] { sm_print_log2(level, "src/probe.cpp", 12, "int f(char)", "%s", text.c_str()); };
}

Call Show(const std::string& title, const std::string& text, int icon = 4) {
  return [=] {
    Message(icon, title.c_str(), text.c_str(), 7000);
    if (waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD) std::fputs("a child\n", stderr);
  };
}

TEST_F(LinuxEnvironment, SelectsRecordsAndLanguageOfMessages) {
  const std::string longest(100'000, ' ');
  const Call error = Show("@DownloadError", "@DownloadError");
  const struct {
    Variables variables;
    Call call;
    std::string output;
  } cases[] = {
      {{}, Log(2, "text: 100%"), "2" + kPlace + "text: 100%\n"},
      {{},
       Log(1, "a\nb\r\t\x1b[31m\x7f \xc2\x9b ü \xff"),
       "1" + kPlace + "a\\nb\\r\\t\\x1b[31m\\x7f \\x9b ü \xff\n"},
      {{}, Log(2, longest), "2" + kPlace + longest + "\n"},
      {{}, Log(3, "x"), ""},
      {{"TABULET_LOG_LEVEL=3"}, Log(3, "x"), "3" + kPlace + "x\n"},
      {{"TABULET_LOG_LEVEL=3"}, Log(4, "x"), ""},
      {{"TABULET_LOG_LEVEL=5"}, Log(5, "x"), "5" + kPlace + "x\n"},
      {{"TABULET_LOG_LEVEL=0"}, Log(1, "x"), ""},
      {{"TABULET_LOG=/dev/full"}, Log(2, "x"), "2" + kPlace + "x\n"},
      {{"TABULET_CONNECT_TO=a:1:b:2,:443:[::1]:8443,::127.0.0.1:80",
        "TABULET_CA_FILE=", "TABULET_LOG=-", "TABULET_LOG_LEVEL=1", "TABULET_SERIAL="},
       Log(2, "x"),
       ""},
      {{"LANG="}, error, kEnglish},
      {{"LANG=C"}, error, kEnglish},
      {{"LANG=C.UTF-8"}, error, kEnglish},
      {{"LANG=en_GB.UTF-8"}, error, kEnglish},
      {{"LANG=xx_YY"}, error, kEnglish},
      {{"LANG=../de"}, error, kEnglish},
      {{"LANG=de"}, error, kGerman},
      {{"LANG=de_DE.UTF-8"}, error, kGerman},
      {{"LANG=de@euro"}, error, kGerman},
      {{"LANG=en", "LC_MESSAGES=de"}, error, kGerman},
      {{"LANG=de"}, Show("@NoSuchKey", "Text"), "[error] @NoSuchKey: Text\n"},
      {{}, Show("", "a\nb\x1b[2J ü"), "[error] a\\nb\\x1b[2J ü\n"},
      {{}, Show("T", "x", 1), "[information] T: x\n"},
  };
  for (const auto& [variables, call, output] : cases) {
    EXPECT_EQ(Run(variables, call), output) << testing::PrintToString(variables);
  }
}

/// Writes four different records from four threads, each 200 times.
void LogFromThreads() {
  std::vector<std::thread> threads;
  for (char c = 'a'; c < 'e'; ++c) {
    threads.emplace_back([text = std::string(300, c)] {
      for (int i = 0; i < 200; ++i) sm_print_log2(1, "threads", 1, "Log", "%s", text.c_str());
    });
  }
  for (std::thread& thread : threads) thread.join();
}

/// The number of each line.
std::map<std::string, int> CountLines(const std::string& text) {
  std::istringstream stream(text);
  std::map<std::string, int> counts;
  for (std::string line; std::getline(stream, line);) ++counts[line];
  return counts;
}

TEST_F(LinuxEnvironment, NamesLogFileOfWholeLines) {
  const std::string path = directory_ / "log";
  for (const char* text : {"one", "two"}) EXPECT_EQ(Run({"TABULET_LOG=" + path}, Log(2, text)), "");
  EXPECT_EQ(ReadAll(path), "2" + kPlace + "one\n2" + kPlace + "two\n");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));

  Run({"TABULET_LOG=" + path}, LogFromThreads);
  const auto counts = CountLines(ReadAll(path));
  EXPECT_EQ(counts.size(), 6U);
  for (const auto& [line, count] : counts) EXPECT_EQ(count, line[0] == '2' ? 1 : 200) << line;

  const std::string output = Run({"TABULET_LOG=/no/such/directory/log"}, LogFromThreads);
  EXPECT_EQ(CountLines(output.substr(output.find('\n') + 1)).size(), 4U);
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 801);
}

TEST_F(LinuxEnvironment, WritesLogOnlyToOwnFile) {
  WriteAll(directory_ / "own", "");
  fs::permissions(directory_ / "own", fs::perms(0644));
  fs::create_symlink("own", directory_ / "link");
  mkfifo((directory_ / "pipe").c_str(), 0600);
  const int reader = open((directory_ / "pipe").c_str(), O_RDONLY | O_NONBLOCK);
  for (const auto& [name, cause] : {std::pair("link", "it is a symbolic link"),
                                    {"pipe", "it is not a file of this user"},
                                    {"no/log", "No such file or directory"}}) {
    const std::string output = Run({"TABULET_LOG=" + (directory_ / name)}, Log(2, "x"));
    const std::string reason =
        "TABULET_LOG: cannot write \"" + (directory_ / name) + "\" (" + cause;
    EXPECT_LT(output.find(reason), output.find('\n')) << output;
    EXPECT_EQ(output.substr(output.find('\n') + 1), "2" + kPlace + "x\n");
  }
  close(reader);
  EXPECT_EQ(ReadAll(directory_ / "own"), "");
  EXPECT_EQ(Run({"TABULET_LOG=" + (directory_ / "own")}, Log(2, "x")), "");
  EXPECT_EQ(fs::status(directory_ / "own").permissions(), fs::perms(0600));
}

TEST_F(LinuxEnvironment, ReportsInvalidSettingsFirst) {
  const std::string level = "write 1 (fatal) to 5 (trace)";
  const std::string connect = "write HOST:PORT:TO-HOST:TO-PORT";
  const struct {
    std::string variable, named, correction;
  } cases[] = {
      {"TABULET_LOG_LEVEL=trace", "\"trace\"", level},
      {"TABULET_LOG_LEVEL=6", "\"6\"", level},
      {"TABULET_CA_FILE=/no/such.pem", "\"/no/such.pem\"", "name a readable PEM file"},
      {"TABULET_SERIAL=two words", "TABULET_SERIAL", "write printable ASCII"},
      {"TABULET_CONNECT_TO=a:1:b", "\"a:1:b\"", connect},
      {"TABULET_CONNECT_TO=a:1:b:2,a:x:b:2", "\"a:x:b:2\"", connect},
      {"TABULET_CONNECT_TO=a:1::2", "\"a:1::2\"", connect},
      {"TABULET_CONNECT_TO=a:1:b:70000", "\"a:1:b:70000\"", connect},
      {"TABULET_CONNECT_TO=[::1:1:b:2", "\"[::1:1:b:2\"", connect},
      {"TABULET_CONNECT_TO=:443:[::1]:8443,,[::1]:80::8080", "\"[::1]:80::8080\"", connect},
  };
  for (const auto& [variable, named, correction] : cases) {
    const std::string output = Run({variable}, Log(1, "x"));
    EXPECT_EQ(output.substr(output.find('\n') + 1), "1" + kPlace + "x\n") << variable;
    EXPECT_NE(output.find(named), std::string::npos) << output;
    EXPECT_NE(output.find(correction), std::string::npos) << output;
  }
  const std::string output = Run({"TABULET_LOG_LEVEL=x"}, Log(5, "x"));
  EXPECT_EQ(output.find('\n'), output.size() - 1) << "the record itself is written";
  EXPECT_NE(output.find(level), std::string::npos) << output;
}

TEST_F(LinuxEnvironment, SetsSerialNumberAndLoopback) {
  const Call print = [] { std::fputs(GetSerialNumber(), stderr); };
  EXPECT_EQ(Run({"TABULET_SERIAL=SN-0815"}, print), "SN-0815");
  const std::string own = Run({}, print);
  EXPECT_EQ(own.size(), 32U);
  EXPECT_EQ(own.find_first_not_of("0123456789abcdef"), std::string::npos) << own;
  EXPECT_EQ(Run({"TABULET_SERIAL=two words"}, print), own);

  for (const auto& [to, is_loopback] : {std::pair("shop:443:127.0.0.1:8443", true),
                                        {"shop:443:127.9.9.9:8443", true},
                                        {"shop:443:localhost:8443", true},
                                        {"shop:443:[::1]:8443", true},
                                        {"", false},
                                        {"shop:443:10.0.0.1:443", false}}) {
    const Call ask = [] { std::fputs(QueryNetwork() & 0x200 ? "yes" : "no", stderr); };
    EXPECT_EQ(Run({std::string("TABULET_CONNECT_TO=") + to}, ask), is_loopback ? "yes" : "no");
  }
}

TEST_F(LinuxEnvironment, PrefersLanguageFilesOfDevice) {
  const std::string path = "/ebrmain/language/en.txt";
  fs::create_directories("/ebrmain/language");
  WriteAll(path, "@DownloadError=Own text, 100%25\n@Other=Other\n");
  EXPECT_EQ(Run({}, Show("@DownloadError", "@Other")), "[error] Own text, 100%: Other\n");
  WriteAll(path, "no equals sign\n");
  const std::string output = Run({}, Show("@DownloadError", "@DownloadError"));
  EXPECT_LT(output.find("line 1 has no '='"), output.find('\n')) << output;
  EXPECT_EQ(output.substr(output.find('\n') + 1), kEnglish);
  fs::remove_all("/ebrmain/language");
}

TEST_F(LinuxEnvironment, NotifiesDesktopWithoutDelayOrChild) {
  const Variables desktop = {"DBUS_SESSION_BUS_ADDRESS=unix:path=/none"};
  const Stopwatch time;
  const std::string program = directory_ / "notify-send";
  const std::string record = directory_ / "record";
  WriteScript(program, "printf '%s|' \"$@\" >" + record + ".new; mv " + record + ".new " + record);
  const std::string text = "$(reboot) `x` \"quoted\"";
  EXPECT_EQ(Run(desktop, Show("-title", text)), "[error] -title: " + text + "\n");
  EXPECT_TRUE(WaitFor([&] { return fs::exists(record); }));
  EXPECT_EQ(ReadAll(record), "-t|7000|-i|dialog-error|--|-title|" + text + "|");
  WriteScript(program, "exec sleep 60\n");
  EXPECT_EQ(Run(desktop, Show("title", "text")), "[error] title: text\n");
  EXPECT_LT(time.seconds(), 5);
}

}  // namespace
